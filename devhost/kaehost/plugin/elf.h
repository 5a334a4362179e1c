#pragma once

#include <string>
#include <vector>

namespace devhost {

// What a shared library says of itself to the loader.
struct SharedLibrary {
  std::vector<std::string> exports;  // the names of the dynamic symbols that it defines
  std::vector<std::string> needs;    // the libraries that it needs
  std::string run_path;              // where these are looked for first; empty for nowhere else
};

// Whether the file at `path` is a library that is shorter than what is to be loaded of it, a copy
// that was cut short for one. The loader does not look, and to touch what is missing is a SIGBUS.
bool LacksItsEnd(const std::string& path);

// Reads it from the file at `path`, which has been loaded as a plug-in. Throws PluginError.
SharedLibrary ReadSharedLibrary(const std::string& path);

}  // namespace devhost
