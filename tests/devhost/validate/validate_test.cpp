// kaehost validate: the plug-in passes, and what is reported, in each form.

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>

#include "devhost/libe/document.h"
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
  const json told = json::parse(run.out);
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

// Also if it was not selected: without it, those that were cannot be run.
TEST_F(Validate, TellsThatATestFailedThatOthersNeed) {
  const Outcome run = Kaehost(
      {"validate", "--json", "--include=sets-each-element", TestPlugin("tcp"), "--timeout", "2"},
      [] { Break("replies-once: hangs"); });
  EXPECT_EQ(run.status, 1);
  const json told = json::parse(run.out);
  ASSERT_EQ(told["tests"].size(), 2U);
  EXPECT_EQ(told["tests"][0]["test"], "replies-once");
  EXPECT_EQ(told["tests"][0]["result"], "timed out");
  EXPECT_EQ(told["tests"][0]["step"], "do_Configure with an empty document");
  EXPECT_EQ(told["tests"][1]["result"], "skipped");
  EXPECT_EQ(told["tests"][1]["why"], "the test replies-once did not pass");
}

TEST_F(Validate, RefusesWhatDoesNotLoad) {
  const std::string path = folder_.Path("nowhere.so");
  const Outcome run = Kaehost({"validate", "--only-failed", path});
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.out, AllOf(HasSubstr("\nfailed     loads\n"),
                             HasSubstr(path + ": the plug-in does not load: cannot open"),
                             ContainsRegex("kaehost: [0-9]+ tests: 1 failed, [0-9]+ skipped\n$")));
}

TEST_F(Validate, NeedsAPrivateNamespace) {
  const Outcome run = Kaehost({"validate"}, ForbidNamespacesToRoot);
  EXPECT_EQ(run.status, 77);
  EXPECT_THAT(run.err, StartsWith("kaehost: cannot create a private network namespace: "));
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
            "kaehost: --exclude: \"(\" is not a regular expression; quote special characters by "
            "\\\nTry 'kaehost validate --help' for more information.\n");
}

TEST_F(Validate, RepeatsARunByItsSeed) {
  const auto seed_of = [](const std::vector<std::string>& options) {
    std::vector<std::string> arguments = {"validate", "--json", "--include=has-no-run-path"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return json::parse(Kaehost(arguments).out)["seed"].get<unsigned>();
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
  const Outcome run = Kaehost({"validate", "--include=loads", "--junit", report});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "kaehost: " + report + ": cannot write: No such file or directory\n");
}

TEST_F(Validate, EndsAfterASignal) {
  RunningKaehost run({"validate", "--include=replies-once", TestPlugin("tcp")},
                     [] { Break("replies-once: hangs"); });
  ASSERT_TRUE(run.HasSaid("seed"));
  kill(run.pid(), SIGTERM);
  const Outcome outcome = run.Finish();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "kaehost: interrupted by signal 15; the other tests were not run\n");
}
