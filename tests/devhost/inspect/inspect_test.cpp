// kaehost inspect: what it tells of the plug-in beside it, and of broken ones.

#include <elf.h>
#include <gmock/gmock.h>
#include <link.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/catalogue.h"
#include "tests/devhost/support/json.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::AllOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

void ExpectRefused(const std::string& plugin, const std::string& sentence) {
  const Outcome run = Kaehost({"inspect", plugin});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "kaehost: " + plugin + ": " + sentence + "\n");
}

std::string Content(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t EndOfWhatIsLoaded(const std::string& library) {
  const auto* header = reinterpret_cast<const ElfW(Ehdr)*>(library.data());
  const auto* segments = reinterpret_cast<const ElfW(Phdr)*>(library.data() + header->e_phoff);
  std::size_t end = 0;
  std::for_each_n(segments, header->e_phnum, [&end](const ElfW(Phdr) & segment) {
    if (segment.p_type == PT_LOAD) {
      end = std::max(end, segment.p_offset + segment.p_filesz);
    }
  });
  return end;
}

// Ways to spoil a library's section table, which a loader does without.
void DropSections(ElfW(Ehdr) * header, ElfW(Shdr) * /*sections*/) {
  header->e_shoff = header->e_shnum = header->e_shstrndx = 0;
}

void ZeroEntrySizes(ElfW(Ehdr) * header, ElfW(Shdr) * sections) {
  std::for_each_n(sections, header->e_shnum, [](ElfW(Shdr) & section) { section.sh_entsize = 0; });
}

void MisplaceNames(ElfW(Ehdr) * header, ElfW(Shdr) * sections) {
  std::for_each_n(sections, header->e_shnum, [](ElfW(Shdr) & section) { section.sh_link = 999; });
}

void MisplaceSections(ElfW(Ehdr) * header, ElfW(Shdr) * sections) {
  std::for_each_n(sections, header->e_shnum,
                  [](ElfW(Shdr) & section) { section.sh_offset = ~0UL / 2; });
}

// The bytes of a library whose section table is spoilt.
std::string WithSections(const std::string& path, decltype(DropSections)* spoil) {
  std::string bytes = Content(path);
  auto* header = reinterpret_cast<ElfW(Ehdr)*>(bytes.data());
  spoil(header, reinterpret_cast<ElfW(Shdr)*>(bytes.data() + header->e_shoff));
  return bytes;
}

}  // namespace

TEST(Inspect, TellsWhatThePlugInIsNeedsAndOffers) {
  const Outcome run = Kaehost({"inspect"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(
      run.out,
      AllOf(ContainsRegex("^plug-in +/.*/libkaetcp.so\n"), HasSubstr("name        TCP\n"),
            HasSubstr("version     001.000\n"), HasSubstr("exports     this_kae_plugin\n"),
            ContainsRegex("\nneeds .* libe.so, .*libc.so.6\n"), HasSubstr("run path    none\n"),
            HasSubstr("callbacks   ConfigureCB, StartCB, StopCB, ReleaseCB\n"),
            ContainsRegex("\nready in +[0-9]+ us\nlayer in +[0-9]+ us\n"),
            ContainsRegex("\nvocabulary +tcp-settings, rmem_max, .*, tcp_port_max\n$")));
}

TEST(Inspect, JsonTellsTheSame) {
  const json told = Parsed(Kaehost({"inspect", "--json"}).out);
  EXPECT_THAT(told["plugin"].get<std::string>(), HasSubstr("libkaetcp.so"));
  EXPECT_EQ(told["name"], "TCP");
  EXPECT_EQ(told["version"], "001.000");
  EXPECT_THAT(told["exports"], ElementsAre("this_kae_plugin"));
  EXPECT_THAT(told["needs"], Contains("libe.so"));
  EXPECT_EQ(told["run_path"], "");
  EXPECT_THAT(told["callbacks"], ElementsAre("ConfigureCB", "StartCB", "StopCB", "ReleaseCB"));
  EXPECT_GT(told["load_us"], 0);
  EXPECT_GT(told["layer_us"], told["load_us"]);
  EXPECT_EQ(told["vocabulary"].size(), devhost::Catalogue().size() + 1);
  EXPECT_EQ(told["vocabulary"][1], "rmem_max");
  EXPECT_EQ(told["error"], nullptr);
  EXPECT_EQ(told["status"], 0);
}

TEST(Inspect, KeepsItsLinesWithinATerminalsWidth) {
  std::istringstream lines(Kaehost({"inspect"}).out);
  int below = 0;
  for (std::string line; std::getline(lines, line);) {
    const bool names_a_file = line.starts_with("plug-in");
    EXPECT_TRUE(line.size() <= 100 || names_a_file) << line;
    below += line.starts_with("            tcp_") ? 1 : 0;
  }
  EXPECT_GT(below, 5);
}

TEST(Inspect, JsonTellsWhyAPlugInIsRefused) {
  const Outcome run = Kaehost({"inspect", "--json", TestPlugin("init_false")});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(Parsed(run.out),
            json({{"error", TestPlugin("init_false") +
                                ": the plug-in is not ready: its InitPlugin returned false"},
                  {"plugin", TestPlugin("init_false")},
                  {"status", 3}}));
}

TEST(Inspect, JsonAndQuietExcludeEachOther) {
  const Outcome run = Kaehost({"inspect", "--json", "--quiet"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "kaehost: options '--json' and '--quiet' are mutually exclusive\nTry 'kaehost inspect "
            "--help' for more information.\n");
}

TEST(Inspect, TellsWhatAnotherPlugInLacks) {
  const json told = Parsed(Kaehost({"inspect", "--json", TestPlugin("working")}).out);
  EXPECT_EQ(told["name"], "test plug-in");
  EXPECT_THAT(told["callbacks"], ElementsAre("ConfigureCB", "ReleaseCB"));
  const auto exports = told["exports"].get<std::vector<std::string>>();
  EXPECT_THAT(exports, Contains("this_kae_plugin"));
  EXPECT_THAT(exports, Contains("_ZTV12WorkingLayer"));
  EXPECT_TRUE(std::is_sorted(exports.begin(), exports.end()));
  EXPECT_EQ(told["run_path"], "/nowhere/lib");
  EXPECT_EQ(Parsed(Kaehost({"inspect", "--json", TestPlugin("silent")}).out)["run_path"],
            "/nowhere/old")
      << "a DT_RPATH, not a DT_RUNPATH";
  EXPECT_EQ(told["vocabulary"].size(), 0U);
  EXPECT_THAT(Kaehost({"inspect", TestPlugin("working")}).out, HasSubstr("\nvocabulary  none\n"));
}

TEST(Inspect, ShowsWhichCallbacksALayerOffers) {
  const json told = Parsed(Kaehost({"inspect", "--json", TestPlugin("starts")}).out);
  EXPECT_THAT(told["callbacks"], ElementsAre("ConfigureCB", "StartCB", "ReleaseCB"));
}

TEST(Inspect, QuietTellsNothingOfAPlugInThatWorks) {
  const Outcome run = Kaehost({"inspect", "--quiet"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "");
}

TEST(Inspect, RefusesABrokenPlugInWithASentence) {
  ExpectRefused("nowhere.so",
                "the plug-in does not load: cannot open shared object file: No such file or "
                "directory");
  ExpectRefused(TestPlugin("unresolved"),
                "the plug-in does not load: undefined symbol: nobody_has_this");
  ExpectRefused(TestPlugin("no_symbol"),
                "not a plug-in: it does not export the symbol this_kae_plugin");
  ExpectRefused(TestPlugin("null_pointer"), "not a plug-in: its this_kae_plugin is null");
  ExpectRefused(TestPlugin("init_false"),
                "the plug-in is not ready: its InitPlugin returned false");
  ExpectRefused(TestPlugin("init_throws"), "the plug-in's InitPlugin threw: no luck");
  ExpectRefused(TestPlugin("name_throws"), "the plug-in's GetName threw: nameless");
  ExpectRefused(TestPlugin("version_throws"),
                "the plug-in's GetVersion threw: something that is not a std::exception");
  ExpectRefused(TestPlugin("no_factory"),
                "the plug-in cannot make layers: it is not a kaeCPLayerFactory");
  ExpectRefused(TestPlugin("null_layer"),
                "the plug-in made no layer: its GetNewLayer returned null");
  ExpectRefused(TestPlugin("layer_throws"),
                "the plug-in's GetNewLayer threw: no memory for a layer");
  ExpectRefused(TestPlugin("no_configure"),
                "the plug-in's layer cannot be used: it is not a kaeCPLayer::ConfigureCB");
  ExpectRefused(TestPlugin("layer_throws_oddly"),
                "the plug-in's GetNewLayer threw: something that is not a std::exception");
  ExpectRefused(TestPlugin("release_throws"), "the layer's do_Release threw: cannot restore");
  ExpectRefused(TestPlugin("changes_when_loaded"),
                "the plug-in changes tunables without a request: ipv4/tcp_fin_timeout, "
                "ipv4/tcp_sack");
  ExpectRefused(TestPlugin("changes_at_its_end"),
                "the plug-in changes tunables without a request: ipv4/tcp_sack");
  ExpectRefused(TestPlugin("no_release"),
                "the plug-in's layer cannot be used: it is not a kaeCPLayer::ReleaseCB");
}

TEST(Inspect, RefusesAPlugInOfWhichAPartIsMissing) {
  const TempFolder folder;
  const std::string whole = Content(TestPlugin("working"));
  const std::size_t needed = EndOfWhatIsLoaded(whole);
  for (const std::size_t size : {needed / 2, needed - 1}) {
    const std::string cut = folder.Write("cut.so", whole.substr(0, size));
    const std::string sentence = "the plug-in does not load: the file is truncated; copy it again";
    ExpectRefused(cut, sentence);
    const Outcome apply = Kaehost({"apply", "--plugin", cut, folder.Write("a.xml", "<a/>")});
    EXPECT_EQ(apply.status, 3) << size;
    EXPECT_THAT(apply.err, HasSubstr(cut + ": " + sentence)) << size;
  }
  const std::string enough = folder.Write("enough.so", whole.substr(0, needed));
  EXPECT_EQ(Kaehost({"apply", "--plugin", enough, folder.Write("a.xml", "<a/>")}).status, 0);
}

TEST(Inspect, RefusesAPlugInForAnotherProcessor) {
  const TempFolder folder;
  constexpr std::size_t kMachine = offsetof(ElfW(Ehdr), e_machine);
  std::string header = Content(TestPlugin("working")).substr(0, kMachine + 2);
  header.resize(sizeof(ElfW(Ehdr)));
  const std::string sentence = "the file is for another processor than this kaehost";
  for (const std::size_t part : {std::size_t{EI_CLASS}, std::size_t{EI_DATA}, kMachine}) {
    std::string other = header;
    other[part] = static_cast<char>(other[part] ^ 3);
    ExpectRefused(folder.Write("other.so", other), "the plug-in does not load: " + sentence);
  }
  EXPECT_THAT(Kaehost({"inspect", folder.Write("short.so", header)}).err, Not(HasSubstr(sentence)));
}

TEST(Inspect, NeedsNoPartThatTheLoaderDoesNotMap) {
  const TempFolder folder;
  std::string library = Content(TestPlugin("working"));
  auto* header = reinterpret_cast<ElfW(Ehdr)*>(library.data());
  auto* segments = reinterpret_cast<ElfW(Phdr)*>(library.data() + header->e_phoff);
  auto* stack = std::find_if(segments, segments + header->e_phnum, [](const ElfW(Phdr) & segment) {
    return segment.p_type == PT_GNU_STACK;
  });
  ASSERT_NE(stack, segments + header->e_phnum);
  stack->p_offset = library.size() + 1;
  EXPECT_EQ(Kaehost({"inspect", folder.Write("odd.so", library)}).status, 0);
}

TEST(Inspect, RefusesAPlugInWhoseSectionTableIsBad) {
  const TempFolder folder;
  for (const auto& spoil : {DropSections, ZeroEntrySizes, MisplaceSections}) {
    const std::string bad = folder.Write("bad.so", WithSections(TestPlugin("working"), spoil));
    ExpectRefused(bad,
                  "the plug-in's section table is missing or damaged, so its exports and needs are "
                  "unknown; build the plug-in again");
  }
}

TEST(Inspect, TellsOfNamesThatCannotBeRead) {
  const TempFolder folder;
  const std::string odd =
      folder.Write("odd.so", WithSections(TestPlugin("working"), MisplaceNames));
  const json told = Parsed(Kaehost({"inspect", "--json", odd}).out);
  EXPECT_THAT(told["exports"], Contains("(unreadable)"));
  EXPECT_THAT(told["needs"], Contains("(unreadable)"));
}

TEST(Inspect, TellsOfAPlugInThatThrowsAtItsEndAllTheSame) {
  const std::string path = TestPlugin("cleanup_throws");
  const Outcome run = Kaehost({"inspect", path});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, HasSubstr("\nname        test plug-in\n"));
  EXPECT_EQ(run.err, "kaehost: " + path + ": the plug-in's CleanupPlugin threw: too late\n");
}

TEST(Inspect, TellsOfAPlugInThatEndsTheProcess) {
  const std::string path = TestPlugin("exits_when_asked");
  const Outcome run = Kaehost({"inspect", path});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "kaehost: " + path + ": the plug-in does not load: its process ended with status 0\n");
}

TEST(Inspect, NeedsAPrivateNamespace) {
  EXPECT_EQ(Kaehost({"inspect"}, ForbidNamespacesToRoot).status, 77);
}

TEST(Inspect, JsonTellsThatThereIsNoPrivateNamespace) {
  const Outcome run = Kaehost({"inspect", "--json", "x.so"}, ForbidNamespacesToRoot);
  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.err, "");
  const json told = Parsed(run.out);
  EXPECT_THAT(told["error"].get<std::string>(),
              HasSubstr("cannot create a private network namespace: "));
  EXPECT_EQ(told["plugin"], "x.so");
  EXPECT_EQ(told["status"], 77);
}

TEST(Inspect, IsExplainedByItsHelp) {
  const Outcome run = Kaehost({"inspect", "--help"});
  EXPECT_EQ(run.status, 0);
  for (const char* text : {"--json", "--quiet", "PLUGIN", "\nExit status:\n  0  "}) {
    EXPECT_THAT(run.out, HasSubstr(text));
  }
}
