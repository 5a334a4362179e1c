#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/plugin/loaded_plugin.h"

// What binutils tell about the built plug-in library. All throw std::runtime_error when the tool
// fails.

struct Symbol {
  std::string name;  // mangled, with its version
  char type = '?';   // as nm's letter
  std::uintptr_t address = 0;
  std::size_t size = 0;
};

// Symbols by the options of nm, "--dynamic --defined-only", of this file or another.
std::vector<Symbol> Symbols(const std::string& nm_options,
                            const std::string& path = LoadedLibrary::Path());

// Answers the one symbol of this name, among the local ones too.
Symbol FindSymbol(const std::string& name);

// Answers the values of the dynamic section's entries with this tag, "NEEDED".
std::vector<std::string> DynamicEntries(const std::string& tag);

// Answers the names of the program headers.
std::vector<std::string> ProgramHeaders();
