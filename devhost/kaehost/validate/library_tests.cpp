// The library's file, and what the loader makes of it.

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/plugin/elf.h"
#include "devhost/kaehost/plugin/elf_protection.h"
#include "devhost/kaehost/validate/trial.h"
#include "devhost/libe/interning.h"

namespace devhost {
namespace {

std::string Listed(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text.empty() ? "none" : text;
}

void ExportsOneSymbol(Trial& trial) {
  const std::vector<std::string> exports = ReadSharedLibrary(trial.path()).exports;
  Expect(exports == std::vector<std::string>{"this_kae_plugin"}, "only this_kae_plugin is exported",
         Listed(exports));
}

void HasNoRunPath(Trial& trial) {
  const std::string run_path = ReadSharedLibrary(trial.path()).run_path;
  Expect(run_path.empty(), "no run path", run_path);
}

// Of a C or C++ compiler or library, of a sanitizer, or the loader.
bool IsRuntime(const std::string& name) {
  constexpr std::string_view kRuntimes[] = {
      "libc",      "libm",     "libdl",     "libpthread", "librt",   "libstdc++", "libc++",
      "libc++abi", "libgcc_s", "libunwind", "libatomic",  "libasan", "libubsan",  "libtsan"};
  return name.starts_with("ld") || name.starts_with("libclang_rt.") ||
         std::any_of(std::begin(kRuntimes), std::end(kRuntimes), [&](std::string_view runtime) {
           return name.starts_with(std::string(runtime) + ".so") ||
                  name.starts_with(std::string(runtime) + ".musl");
         });
}

void NeedsOnlyTheHost(Trial& trial) {
  std::vector<std::string> needs = ReadSharedLibrary(trial.path()).needs;
  const std::string all = Listed(needs);
  Expect(std::erase(needs, "libe.so") == 1, "needs libe.so", all);
  std::erase_if(needs, IsRuntime);
  Expect(needs.empty(), "needs only libe.so and libraries of the compiler and the system",
         Listed(needs));
}

void IsBoundAtLoad(Trial& trial) {
  const Protection protection = ReadProtection(trial.path());
  Expect(protection.is_bound_at_load, "all symbols are resolved at load (linker option -z now)",
         "they are resolved when they are used");
  Expect(protection.has_relro, "relocated data is read-only (linker option -z relro)",
         "it stays writable");
}

// Some loaders refuse such a library. So this test does not need one that can be loaded.
void HasNoExecutableData(Trial& trial) {
  const Protection protection = ReadProtection(trial.path());
  Expect(!protection.has_executable_stack, "no executable stack",
         "the file requests one, or says nothing about it");
  Expect(!protection.has_writable_code, "no memory both writable and executable",
         "a segment is both");
  Expect(!protection.has_text_relocations, "no relocations in the code (compiler option -fPIC)",
         "the code is relocated");
}

// A pointer that a constructor sets is in memory that starts as zeros.
void HasItsPointerBeforeConstructors(Trial& trial) {
  trial.Step("loading the library");
  const PluginLibrary library(trial.path());
  link_map* map = nullptr;
  dlinfo(library.handle(), RTLD_DI_LINKMAP, &map);
  const auto address = reinterpret_cast<std::uintptr_t>(library.pointer()) - map->l_addr;
  Expect(IsInFile(trial.path(), address, sizeof(void*)),
         "this_kae_plugin is a constant of the file", "it gets its value when the library runs");
}

void KeepsItsSymbolsLocal(Trial& trial) {
  trial.Load();
  Expect(dlsym(RTLD_DEFAULT, "this_kae_plugin") == nullptr,
         "after loading with RTLD_LOCAL, other libraries do not see this_kae_plugin",
         "they see it");
}

void PointsToItsObject(Trial& trial) {
  kaePlugin* plugin = trial.Load().library().object();
  Expect(dynamic_cast<void*>(plugin) == plugin,
         "this_kae_plugin is the address of the whole plug-in object",
         "it is the address of a part of it");
  auto* factory = dynamic_cast<kaeCPLayerFactory*>(plugin);
  Expect(factory != nullptr && dynamic_cast<kaePlugin*>(factory) == plugin,
         "casts from kaePlugin to kaeCPLayerFactory and back", "a cast fails");
}

using HostWords = std::array<std::uintptr_t, 3>;

HostWords HostWordsOf(const kaePlugin* plugin) {
  HostWords words;
  std::memcpy(words.data(), reinterpret_cast<const char*>(plugin) + sizeof(void*), sizeof words);
  return words;
}

std::string TextOf(const HostWords& words) {
  return std::to_string(words[0]) + ", " + std::to_string(words[1]) + ", " +
         std::to_string(words[2]);
}

void LeavesTheHostsWords(Trial& trial) {
  kaePlugin* object = trial.Load().library().object();
  ExpectText("the three words of the host in kaePlugin are", "0, 0, 1",
             TextOf(HostWordsOf(object)));
  const HostWords words = {7, 8, 9};
  std::memcpy(reinterpret_cast<char*>(object) + sizeof(void*), words.data(), sizeof words);
  const Layer layer = trial.NewLayer();
  trial.Configure(layer, SettingsDocument(Settings{}), "an empty document");
  trial.Release(layer);
  object->GetName();
  object->InitPlugin();
  object->CleanupPlugin();
  ExpectText("they stay as the host set them,", "7, 8, 9", TextOf(HostWordsOf(object)));
}

void HasOneName(Trial& trial) {
  const Plugin& plugin = trial.Load();
  const std::string name = plugin.name();
  const std::string version = plugin.version();
  kaePlugin* object = plugin.library().object();
  const auto through = [&](const char* base, const kaeVersionInfo& info) {
    trial.Step(std::string("GetName and GetVersion through ") + base);
    for (int i = 0; i < 2; ++i) {
      ExpectText(std::string("GetName through ") + base + " is", name, info.GetName());
      ExpectText(std::string("GetVersion through ") + base + " is", version, info.GetVersion());
    }
  };
  through("kaeVersionInfo", *object);
  through("kaePlugin", *object);
  if (auto* factory = dynamic_cast<kaeCPLayerFactory*>(object)) {
    through("kaeCPLayerFactory", *factory);
  }
  if (auto* whole = dynamic_cast<kaeCPPlugin*>(object)) {
    through("kaeCPPlugin", *whole);
  }
}

void IsCalledTcp(Trial& trial) {
  ExpectText("GetName is", "TCP", trial.Load().name());
  ExpectText("GetVersion is", "001.000", trial.Load().version());
}

void InitialisesAgain(Trial& trial) {
  kaePlugin* object = trial.Load().library().object();
  trial.Step("InitPlugin again");
  Expect(object->InitPlugin(), "InitPlugin returns true each time", "the second one, false");
  trial.Step("CleanupPlugin");
  object->CleanupPlugin();
  trial.Step("InitPlugin after CleanupPlugin");
  Expect(object->InitPlugin(), "InitPlugin returns true after CleanupPlugin", "false");
  trial.Release(trial.NewLayer());
}

void KnowsTheVocabulary(Trial& trial) {
  trial.Release(trial.NewLayer());
  const std::vector<std::string> found = InternedNames();
  std::vector<std::string> expected = {"tcp-settings"};
  for (const CatalogueEntry& entry : Catalogue()) {
    expected.emplace_back(entry.element);
  }
  std::vector<std::string> missing;
  std::vector<std::string> unknown;
  const auto is_in = [](const std::vector<std::string>& names) {
    return [&names](const std::string& name) {
      return std::find(names.begin(), names.end(), name) != names.end();
    };
  };
  std::remove_copy_if(expected.begin(), expected.end(), std::back_inserter(missing), is_in(found));
  std::remove_copy_if(found.begin(), found.end(), std::back_inserter(unknown), is_in(expected));
  Expect(missing.empty() && unknown.empty(), "interns \"tcp-settings\" and the 57 elements",
         "missing: " + Listed(missing) + "; unknown: " + Listed(unknown));
}

constexpr Test kTests[] = {
    {"exports-one-symbol",                  "the library exports this_kae_plugin and nothing else",                Needs::kLibrary,
     ExportsOneSymbol                                                                                                                                                },
    {"has-no-run-path",                     "the library has no run path",                                         Needs::kLibrary,   HasNoRunPath                   },
    {"is-bound-at-load",                    "all symbols are resolved at load, and their table is then read-only",
     Needs::kLibrary,                                                                                                                 IsBoundAtLoad                  },
    {"has-no-executable-data",              "no stack or data is executable, no code is writable",                 Needs::kFile,
     HasNoExecutableData                                                                                                                                             },
    {"needs-only-the-host",                 "the library needs libe.so, and otherwise only C and C++ libraries",
     Needs::kCatalogue,                                                                                                               NeedsOnlyTheHost               },
    {"has-its-pointer-before-constructors", "this_kae_plugin is set before any constructor runs",
     Needs::kLibrary,                                                                                                                 HasItsPointerBeforeConstructors},
    {"keeps-its-symbols-local",             "its symbols are not visible to other libraries",                      Needs::kPlugin,
     KeepsItsSymbolsLocal                                                                                                                                            },
    {"points-to-its-object",                "this_kae_plugin is the plug-in object's address; its casts work",
     Needs::kLayer,                                                                                                                   PointsToItsObject              },
    {"leaves-the-hosts-words",              "the three words of the host start as 0, 0, 1 and are not changed",
     Needs::kCatalogue,                                                                                                               LeavesTheHostsWords            },
    {"has-one-name",                        "name and version are the same each time and through each base class",
     Needs::kPlugin,                                                                                                                  HasOneName                     },
    {"is-called-tcp",                       R"(the name is "TCP" and the version "001.000")",                      Needs::kCatalogue,
     IsCalledTcp                                                                                                                                                     },
    {"initialises-again",                   "InitPlugin returns true again, also after CleanupPlugin",
     Needs::kCatalogue,                                                                                                               InitialisesAgain               },
    {"knows-the-vocabulary",                "the plug-in interns the names of the 57 elements and no others",
     Needs::kCatalogue,                                                                                                               KnowsTheVocabulary             },
};

}  // namespace

std::span<const Test> LibraryTests() { return kTests; }

}  // namespace devhost
