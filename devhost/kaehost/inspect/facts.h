#pragma once

#include <string>

#include "devhost/kaehost/process/interruption.h"
#include "devhost/kaehost/text/json.h"

namespace devhost {

// Returns what the plug-in at `path` is, requires and offers, as `kaehost inspect --json` prints
// it. In a process of its own, loads it, lets it make a layer, releases the layer and unloads the
// plug-in. Throws PluginError, also if tunables have changed.
Json FactsOf(const std::string& path, Interruption& interruption);

}  // namespace devhost
