// The built file, as a loader reads it.

#include <cxxabi.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <set>

#include "tests/plugin/elf_file.h"
#include "tests/plugin/loaded_plugin.h"

namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;
using testing::UnorderedElementsAre;

std::vector<std::string> Names(const std::vector<Symbol>& symbols) {
  std::vector<std::string> names;
  std::transform(symbols.begin(), symbols.end(), std::back_inserter(names),
                 [](const Symbol& symbol) { return symbol.name; });
  return names;
}

// Compilers take one or several variants of a constructor or destructor; its own name is the same.
std::string Demangle(const std::string& name) {
  char* text = abi::__cxa_demangle(name.c_str(), nullptr, nullptr, nullptr);
  std::string demangled = text != nullptr ? text : name;
  std::free(text);
  return demangled;
}

TEST(LibraryFile, ExportsOneSymbolOnly) {
  EXPECT_THAT(Names(Symbols("--dynamic --defined-only")), ElementsAre("this_kae_plugin"));
}

// What static constructors set would lie in memory that starts as zeros.
TEST(LibraryFile, ExportsAPointerThatIsSetBeforeTheFirstStaticConstructor) {
  const Symbol symbol = Symbols("--dynamic --defined-only").at(0);
  EXPECT_EQ(symbol.type, 'D') << "not initialised data";
  EXPECT_EQ(symbol.size, sizeof(void*));
}

TEST(LibraryFile, PointsToTheObjectOnceLoaded) {
  const LoadedLibrary library;
  const void* object = library.base() + FindSymbol("_ZL17kae_plugin_object").address;
  EXPECT_EQ(library.plugin(), object);
}

TEST(LibraryFile, NeedsTheHostLibraryAndThoseOfCompilerAndSystemOnly) {
  const std::vector<std::string> needed = DynamicEntries("NEEDED");
  EXPECT_THAT(needed, Contains("Shared library: [libe.so]"));
  // Some processors have what the stack protector needs in the loader: ld-linux-aarch64.so.1.
  EXPECT_THAT(needed, Each(MatchesRegex("Shared library: \\[(libe\\.so|"
                                        "(lib(stdc\\+\\+|gcc_s|asan|ubsan|m|c)|"
                                        "ld(64|-linux-[a-z0-9-]+))\\.so\\.[0-9]+)\\]")));
}

TEST(LibraryFile, LooksForTheHostLibraryNowhereInParticular) {
  EXPECT_THAT(DynamicEntries("RUNPATH"), IsEmpty());
  EXPECT_THAT(DynamicEntries("RPATH"), IsEmpty());
}

TEST(LibraryFile, IsBoundAtOnceAndReadOnlyAfterwards) {
  EXPECT_THAT(DynamicEntries("FLAGS"), Contains(HasSubstr("BIND_NOW")));
  EXPECT_THAT(DynamicEntries("FLAGS_1"), Contains(HasSubstr("NOW")));
  EXPECT_THAT(ProgramHeaders(), Contains("GNU_RELRO"));
}

TEST(LibraryFile, TakesFromTheHostWhatLivesInItsLibrary) {
  const std::vector<std::string> host = Names(Symbols("--dynamic --defined-only", KAETCP_HOST));
  std::set<std::string> taken;
  for (const std::string& name : Names(Symbols("--dynamic --undefined-only"))) {
    if (std::find(host.begin(), host.end(), name) != host.end()) {
      taken.insert(Demangle(name));
    }
  }
  EXPECT_THAT(taken, UnorderedElementsAre("kaml_intern", "kaml_cont_type", "kaml_cont_next",
                                          "kaml_elem_name", "kaml_elem_contents", "kaml_text",
                                          "kaeCPLayer::kaeCPLayer()", "kaeCPLayer::~kaeCPLayer()",
                                          "typeinfo for kaeCPLayer", "kaePlugin::~kaePlugin()",
                                          "typeinfo for kaePlugin",
                                          "kaeRequest::SendSuccess(kaml_content*)",
                                          StartsWith("kaeRequest::SendError(")));
}

}  // namespace
