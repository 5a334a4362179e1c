#pragma once

#include "devhost/kaehost/apply/options.h"

namespace devhost {

// Delivers the documents, each as one request, to a new layer of the plug-in, shows on standard
// output what became of each, runs the program or holds the settings, releases the layer and
// compares. Answers the exit status. Throws DocumentError before anything else is done,
// NamespaceError and PluginError before a request is delivered; what a layer throws is told and
// ends nothing. From the first document on, SIGINT, SIGTERM and SIGHUP end the session early, but
// never before the layer's release.
int RunSession(const ApplyOptions& options);

}  // namespace devhost
