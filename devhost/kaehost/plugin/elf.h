#pragma once

#include <string>
#include <vector>

namespace devhost {

// What the loader reads in a shared library.
struct SharedLibrary {
  std::vector<std::string> exports;  // the names of the dynamic symbols that it defines
  std::vector<std::string> needs;    // the libraries that it needs
  std::string run_path;              // DT_RUNPATH or DT_RPATH; empty if there is none
};

// Returns whether the file at `path` is a library that is shorter than what the loader maps of it,
// such as a truncated copy. The loader does not check this, and an access to the missing part is a
// SIGBUS.
bool LacksItsEnd(const std::string& path);

// Returns whether the file at `path` is for another processor than this program. The loader says of
// most such files that they do not exist.
bool IsForAnotherProcessor(const std::string& path);

// Reads the file at `path`, which must have been loaded as a plug-in. Throws PluginError.
SharedLibrary ReadSharedLibrary(const std::string& path);

}  // namespace devhost
