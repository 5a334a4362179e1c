#pragma once

#include "devhost/kaehost/apply/options.h"

namespace devhost {

// Delivers each document as one request to a new layer of the plug-in, prints the outcomes, runs
// the user's command or holds the settings, releases the layer, unloads the plug-in and compares
// the tunables with what they were before. Returns the exit status. Throws DocumentError before
// anything else is done, and NamespaceError and PluginError before a request is delivered. What a
// layer throws is printed and does not end the session. SIGINT, SIGTERM and SIGHUP end the session
// early, but never before the layer is released.
int RunSession(const ApplyOptions& options);

}  // namespace devhost
