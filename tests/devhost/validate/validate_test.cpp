// kaehost validate: the plug-in passes, and what is reported, in each form.

#include <gmock/gmock.h>
#include <link.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "devhost/libe/document.h"
#include "tests/devhost/support/json.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

// Makes a copy of one of the broken plug-ins whose file header or program headers are changed.
void ChangedLibrary(const char* plugin, const std::string& copy,
                    void (*change)(ElfW(Ehdr) * header, ElfW(Phdr) * segments)) {
  std::ifstream file(TestPlugin(plugin), std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(file)), {});
  auto* header = reinterpret_cast<ElfW(Ehdr)*>(bytes.data());
  change(header, reinterpret_cast<ElfW(Phdr)*>(bytes.data() + header->e_phoff));
  std::ofstream(copy, std::ios::binary) << bytes;
}

void Break(const char* what) { setenv("BREAK", what, 1); }

class Validate : public testing::Test {
 protected:
  const TempFolder folder_;
};

// The names and attributes of an XML document's elements are enough to see that it is well-formed.
const kaml_content* Child(const kaml_content* parent, const std::string& name) {
  const kaml_content* child = kaml_elem_contents(parent);
  while (child != nullptr &&
         (kaml_cont_type(child) != devhost::kElement || kaml_elem_name(child) != name)) {
    child = kaml_cont_next(child);
  }
  return child;
}

}  // namespace

TEST_F(Validate, FindsNothingWrongWithThePlugin) {
  const Outcome run = Kaehost({"validate", "--json"});
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_EQ(run.err, "");
  const json told = Parsed(run.out);
  EXPECT_EQ(told["name"], "TCP");
  EXPECT_EQ(told["version"], "001.000");
  EXPECT_EQ(told["status"], 0);
  EXPECT_TRUE(told["interrupted_by"].is_null());
  for (const json& test : told["tests"]) {
    EXPECT_EQ(test["result"], "passed") << test;
  }
  EXPECT_EQ(told["counts"]["passed"], told["tests"].size());
  EXPECT_GT(told["tests"].size(), 40U);
}

TEST_F(Validate, FindsNothingWrongWithTheCopyThatItsBrokenOnesAreMadeOf) {
  const Outcome run = Kaehost({"validate", "--only-failed", TestPlugin("tcp")});
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_THAT(run.out, MatchesRegex("kaehost: .*, seed [0-9]+\nkaehost: [0-9]+ tests: [0-9]+ "
                                    "passed\n"));
}

TEST_F(Validate, SkipsWhatIsNotForAPluginOfAnotherKind) {
  const Outcome run = Kaehost(
      {"validate", "--include", "has-no-run-path|sets-each|unloads$", TestPlugin("starts")});
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_THAT(run.out, HasSubstr("\npassed     has-no-run-path\npassed     unloads\n"
                                 "skipped    sets-each-element\n"
                                 "  because    the plug-in is not for tcp-settings documents\n"
                                 "kaehost: 3 tests: 2 passed, 1 skipped\n"));
}

// Only the plug-in for these documents promises what they test.
TEST_F(Validate, AsksOfAPluginOfAnotherKindOnlyWhatAHostNeeds) {
  const Outcome run = Kaehost(
      {"validate", "--include=initialises-again|hosts-words|unloads-with", TestPlugin("starts")});
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_THAT(run.out, AllOf(HasSubstr("\nskipped    unloads-with-a-layer\n"),
                             EndsWith("kaehost: 3 tests: 3 skipped\n")));
}

TEST_F(Validate, TellsWhatWasExpectedAndSeen) {
  const Outcome run = Kaehost({"validate", "--include=is-called-tcp", TestPlugin("tcp")},
                              [] { Break("is-called-tcp"); });
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, EndsWith("failed     is-called-tcp\n"
                                "  expected:  GetVersion is \"001.000\"\n"
                                "  seen:      \"1.0\"\n"
                                "  last step: loading the plug-in\n"
                                "kaehost: 1 test: 1 failed\n"));
}

TEST_F(Validate, TellsHowAndDuringWhatAProcessEnded) {
  const Outcome run = Kaehost({"validate", "--only-failed", "--include=hostile", TestPlugin("tcp")},
                              [] { Break("survives-hostile-documents"); });
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, EndsWith("crashed    survives-hostile-documents\n"
                                "  the process was killed by signal 11 (Segmentation fault)\n"
                                "  last step: do_Configure with a hostile document\n"
                                "kaehost: 1 test: 1 crashed\n"));
}

TEST_F(Validate, TellsThatAPluginEndedTheProcessThoughWithoutAnError) {
  const Outcome run =
      Kaehost({"validate", "--json", "--include=^makes-a-layer$", TestPlugin("exits_when_asked")});
  EXPECT_EQ(run.status, 3);
  const json test = Parsed(run.out)["tests"][0];
  EXPECT_EQ(test["result"], "crashed");
  EXPECT_EQ(test["end"], "ended with status 0");
}

// Also if it was not selected: without it, those that were cannot be run.
TEST_F(Validate, TellsThatATestFailedThatOthersNeed) {
  const Outcome run = Kaehost(
      {"validate", "--json", "--include=sets-each-element", TestPlugin("tcp"), "--timeout", "2"},
      [] { Break("replies-once: hangs"); });
  EXPECT_EQ(run.status, 1);
  const json told = Parsed(run.out);
  ASSERT_EQ(told["tests"].size(), 2U);
  EXPECT_EQ(told["tests"][0]["test"], "replies-once");
  EXPECT_EQ(told["tests"][0]["result"], "timed out");
  EXPECT_EQ(told["tests"][0]["step"], "do_Configure with an empty document");
  EXPECT_EQ(told["tests"][1]["result"], "skipped");
  EXPECT_EQ(told["tests"][1]["why"], "the test replies-once did not pass");
}

TEST_F(Validate, RefusesWhatDoesNotLoad) {
  const std::string path = folder_.Path("nowhere.so");
  const Outcome run = Kaehost({"validate", path});
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.out, AllOf(HasSubstr("\nfailed     loads\n"),
                             HasSubstr(path + ": the plug-in does not load: cannot open"),
                             HasSubstr(path + ": cannot read the plug-in: No such file"),
                             ContainsRegex("\nskipped    [0-9]+ other tests\n"
                                           "  because    the test loads did not pass\n"
                                           "kaehost: [0-9]+ tests: 2 failed, [0-9]+ skipped\n$")));
  EXPECT_THAT(Kaehost({"validate", "--only-failed", path}).out, Not(HasSubstr("because")));
}

TEST_F(Validate, RefusesWhatItCannotReadWhicheverTestIsSelected) {
  const Outcome run = Kaehost({"validate", "--include=run-path", folder_.Path("nowhere.so")});
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.out, EndsWith("skipped    has-no-run-path\n"
                                "  because    the test loads did not pass\n"
                                "kaehost: 2 tests: 1 failed, 1 skipped\n"));
}

TEST_F(Validate, RefusesALibraryWhoseSectionsItCannotRead) {
  const std::string path = folder_.Path("no_sections.so");
  ChangedLibrary("tcp_run_path", path, [](ElfW(Ehdr) * header, ElfW(Phdr) * /*segments*/) {
    header->e_shoff = header->e_shnum = header->e_shstrndx = 0;
  });
  const Outcome run = Kaehost({"validate", "--include=run-path", path});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("failed     has-no-run-path\n"
                                 "  expected:  the library has no run path\n"
                                 "  seen:      " +
                                 path + ": the plug-in's section table is missing or damaged"));
}

// Most loaders then make the stack executable.
TEST_F(Validate, RefusesALibraryThatSaysNothingAboutItsStack) {
  const std::string path = folder_.Path("no_stack.so");
  ChangedLibrary("tcp", path, [](ElfW(Ehdr) * header, ElfW(Phdr) * segments) {
    std::for_each_n(segments, header->e_phnum, [](ElfW(Phdr) & segment) {
      segment.p_type = segment.p_type == PT_GNU_STACK ? PT_NULL : segment.p_type;
    });
  });
  const Outcome run =
      Kaehost({"validate", "--include=executable|bound|exports|run-path", "--only-failed", path});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, EndsWith("failed     has-no-executable-data\n"
                                "  expected:  no executable stack\n"
                                "  seen:      the file requests one, or says nothing about it\n"
                                "  last step: starting the test\n"
                                "kaehost: 4 tests: 3 passed, 1 failed\n"));
}

TEST_F(Validate, NeedsAPrivateNamespace) {
  const Outcome run = Kaehost({"validate"}, ForbidNamespacesToRoot);
  EXPECT_EQ(run.status, 77);
  EXPECT_THAT(run.err, StartsWith("kaehost: cannot create a private network namespace: "));
}

TEST_F(Validate, NeedsTunablesThatCanBeWritten) {
  const Outcome run = Kaehost({"validate"}, [] { MountReadOnly("/proc/sys/net"); });
  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.err,
            "kaehost: /proc/sys/net/ipv4/tcp_sack: cannot open for writing: Read-only file system; "
            "/proc/sys is mounted read-only, as in most containers; start the container with a "
            "writable /proc/sys\n");
}

// If one namespace is all there is, some test does not get one. What ended before is told.
TEST_F(Validate, TellsWhatItHasFoundOutBeforeNamespacesRanOut) {
  const Outcome run = Kaehost({"validate"}, LeaveOneNamespaceToRoot);
  if (!HasUserNamespaces()) {
    EXPECT_EQ(run.status, 0) << "nothing can limit the namespaces";
    return;
  }
  EXPECT_EQ(run.status, 77);
  EXPECT_THAT(run.out, HasSubstr("\npassed     loads\n"));
  EXPECT_THAT(run.err, StartsWith("kaehost: cannot create a private network namespace: "));
}

TEST_F(Validate, WorksInAFolderThatWasDeleted) {
  const Outcome run = Kaehost({"validate", "--include=leaves-the-process"}, [this] {
    std::filesystem::create_directory(folder_.Path("deleted"));
    std::filesystem::current_path(folder_.Path("deleted"));
    std::filesystem::remove(folder_.Path("deleted"));
  });
  EXPECT_EQ(run.status, 0) << run.out;
}

TEST_F(Validate, BlamesNoPluginForALimitOfFiles) {
  const Outcome run = Kaehost({"validate", "--include=prints-its-progress"}, [] {
    const rlimit limit = {4096, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
  });
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, HasSubstr("skipped    prints-its-progress\n  because    the plug-in prints "
                                 "more than the limit for a file (ulimit -f)\n"));
}

TEST_F(Validate, ListsItsTests) {
  const Outcome run = Kaehost({"validate", "--list", "--include=^fails-", "--exclude", "loop"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, AllOf(StartsWith("fails-at-a-read-only-file  "),
                             ContainsRegex("\nfails-at-a-socket  +a socket in its place"),
                             Not(HasSubstr("fails-at-a-loop"))));
}

TEST_F(Validate, ReportsNamesThatNoTestHas) {
  const Outcome run = Kaehost({"validate", "--include=sack"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "kaehost: no test has such a name; 'kaehost validate --list' shows the names\n");
  EXPECT_EQ(Kaehost({"validate", "--exclude=("}).err,
            "kaehost: --exclude: \"(\" is not a regular expression; escape special characters with "
            "\\\nTry 'kaehost validate --help' for more information.\n");
}

TEST_F(Validate, RepeatsARunByItsSeed) {
  const auto seed_of = [](const std::vector<std::string>& options) {
    std::vector<std::string> arguments = {"validate", "--json", "--include=has-no-run-path"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Parsed(Kaehost(arguments).out)["seed"].get<unsigned>();
  };
  EXPECT_EQ(seed_of({"--seed=7"}), 7U);
  EXPECT_NE(seed_of({}), seed_of({}));
}

TEST_F(Validate, WritesAJUnitReport) {
  const std::string report = folder_.Path("report <\"&\xff\x01>.xml");
  const std::string plugin = folder_.Path("no \"<&\x1b\xff.so");
  const Outcome run = Kaehost({"validate", "--include=^loads|run-path", "--junit", report, plugin});
  EXPECT_EQ(run.status, 3) << run.err;
  const devhost::Document document = devhost::Document::Read(report);
  const kaml_content* suite = Child(document.contents(), "testsuite");
  ASSERT_NE(suite, nullptr);
  const kaml_content* test = Child(suite, "testcase");
  ASSERT_NE(test, nullptr);
  EXPECT_NE(Child(test, "failure"), nullptr);
  std::ifstream file(report);
  const std::string text((std::istreambuf_iterator<char>(file)), {});
  EXPECT_THAT(text,
              AllOf(HasSubstr("<testsuite name=\"kaehost validate\" tests=\"2\" failures=\"1\" "
                              "errors=\"0\" skipped=\"1\" "),
                    HasSubstr("no &quot;&lt;&amp;&lt;U+001B&gt;"),
                    HasSubstr(" name=\"has-no-run-path\" time=\"")));
}

TEST_F(Validate, WritesTheReportWholeOrNotAtAll) {
  const std::string report = folder_.Path("nowhere/report.xml");
  const Outcome run = Kaehost({"validate", "--include=^loads$", "--junit", report});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "kaehost: " + report + ": cannot write: No such file or directory\n");
  EXPECT_THAT(run.out, EndsWith("passed     loads\nkaehost: 1 test: 1 passed\n"));
}

TEST_F(Validate, PrintsItsResultsWithoutTheReportToo) {
  const std::string report = folder_.Path("nowhere/report.xml");
  const Outcome run = Kaehost(
      {"validate", "--json", "--include=loads", "--junit", report, folder_.Path("nowhere.so")});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "kaehost: " + report + ": cannot write: No such file or directory\n");
  const json told = Parsed(run.out);
  EXPECT_EQ(told["status"], 3);
  EXPECT_EQ(told["tests"][0]["result"], "failed");
}

// Also those behind one that has no result.
TEST_F(Validate, TellsAfterASignalWhatItHasFoundOut) {
  const Outcome run = Kaehost({"validate", "--include=^makes-many-layers|^accepts-no-content",
                               TestPlugin("interrupts_at_a_layer")});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "kaehost: interrupted by signal 15; the other tests were not run\n");
  EXPECT_THAT(run.out, EndsWith("\nskipped    accepts-no-content\n"
                                "  because    the plug-in is not for tcp-settings documents\n"
                                "kaehost: 1 test: 1 skipped\n"));
}

TEST_F(Validate, EndsAfterASignal) {
  RunningKaehost run({"validate", "--include=replies-once", TestPlugin("tcp")},
                     [] { Break("replies-once: hangs"); });
  ASSERT_TRUE(run.HasSaid("seed"));
  kill(run.pid(), SIGTERM);
  const Outcome outcome = run.Finish();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err,
              EndsWith("kaehost: interrupted by signal 15; the other tests were not run\n"));
}
