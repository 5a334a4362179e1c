#pragma once

#include <cstdint>
#include <string>

namespace devhost {

// What a library's program headers and dynamic entries say about its memory.
struct Protection {
  bool is_bound_at_load = false;      // all symbols are resolved when it is loaded
  bool has_relro = false;             // some data is read-only after that
  bool has_text_relocations = false;  // code is changed when it is loaded
  // The file requests it, or says nothing: then the loader decides, and can make it executable.
  bool has_executable_stack = true;
  bool has_writable_code = false;  // a segment is both writable and executable
};

// Reads the file at `path`. Throws PluginError if it is not an ELF file.
Protection ReadProtection(const std::string& path);

// Returns whether these bytes of the loaded library come from its file, and do not start as zeros.
// The address is relative to that of the library. Throws PluginError if it is not an ELF file.
bool IsInFile(const std::string& path, std::uint64_t address, std::uint64_t size);

}  // namespace devhost
