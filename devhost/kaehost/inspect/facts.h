#pragma once

#include <string>
#include <vector>

#include "devhost/kaehost/plugin/elf.h"

namespace devhost {

// What a plug-in is, requires and offers.
struct PluginFacts {
  std::string name;
  std::string version;
  SharedLibrary library;
  std::vector<std::string> callbacks;   // that a layer offers
  std::vector<std::string> vocabulary;  // the names that it interned, in order
  long load_us;                         // from the start of loading until the plug-in is ready
  long layer_us;                        // until it has made its first layer
};

// Loads the plug-in at `path`, lets it make a layer, releases the layer and unloads the plug-in.
// Throws PluginError, also if tunables have changed.
PluginFacts FactsOf(const std::string& path);

}  // namespace devhost
