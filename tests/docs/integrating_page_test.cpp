// What docs/integrating.md says that a host library exports, against what the built plug-in takes.

#include <cxxabi.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "tests/docs/support/page.h"
#include "tests/plugin/elf_file.h"
#include "tests/plugin/loaded_plugin.h"

namespace {

using testing::HasSubstr;
using testing::UnorderedElementsAreArray;

const char* const kPageName = "integrating.md";

// As people write it.
std::string Demangle(const std::string& name) {
  char* text = abi::__cxa_demangle(name.c_str(), nullptr, nullptr, nullptr);
  std::string demangled = text != nullptr ? text : name;
  std::free(text);
  const std::string string =
      "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >";
  for (std::size_t at = 0; (at = demangled.find(string)) != std::string::npos;) {
    demangled.replace(at, string.size(), "std::string");
  }
  return demangled;
}

std::set<std::string> Names(const std::vector<Symbol>& symbols) {
  std::set<std::string> names;
  for (const Symbol& symbol : symbols) {
    names.insert(Demangle(symbol.name));
  }
  return names;
}

TEST(IntegratingPage, ListsWhatThePluginTakesFromTheHostLibrary) {
  const std::set<std::string> host = Names(Symbols("--dynamic --defined-only", KAETCP_HOST));
  std::vector<std::string> taken;
  for (const std::string& name : Names(Symbols("--dynamic --undefined-only"))) {
    if (host.contains(name)) {
      taken.push_back(name);
    }
  }
  EXPECT_THAT(Page(kPageName).CodeLines("symbols"), UnorderedElementsAreArray(taken));
}

TEST(IntegratingPage, TellsNameAndVersion) {
  const LoadedLibrary library;
  EXPECT_THAT(Page(kPageName).text(),
              HasSubstr("The name is \"" + library.plugin()->GetName() + "\", the version \"" +
                        library.plugin()->GetVersion() + "\"."));
}

}  // namespace
