// kaehost validate finds what is wrong with each broken plug-in, by the test that is meant for it.

#include <gmock/gmock.h>

#include <cstdlib>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/devhost/support/effort.h"
#include "tests/devhost/support/json.h"
#include "tests/devhost/support/running_kaehost.h"

using nlohmann::json;
using testing::Gt;
using testing::SizeIs;

namespace {

struct Row {
  const char* test;      // which refuses it
  const char* plugin;    // in the folder of test plug-ins
  const char* way = "";  // for tcp.so: what is broken of what the test looks at
  int status = 1;
  const char* result = "failed";
};

// Each broken plug-in. Those called tcp are the product, with something broken.
const Row kRows[] = {
    {"loads", "no_symbol", "", 3},
    {"loads", "null_pointer", "", 3},
    {"initialises", "init_false", "", 3},
    {"initialises", "init_throws", "", 3},
    {"initialises", "name_throws", "", 3},
    {"initialises", "version_throws", "", 3},
    {"makes-a-layer", "no_factory", "", 3},
    {"makes-a-layer", "null_layer", "", 3},
    {"makes-a-layer", "layer_throws", "", 3},
    {"makes-a-layer", "layer_throws_oddly", "", 3},
    {"makes-a-layer", "no_configure", "", 3},
    {"makes-a-layer", "no_release", "", 3},
    {"releases-a-layer", "release_throws"},
    {"replies-once", "configure_throws"},
    {"replies-once", "configure_throws_oddly"},
    {"replies-once", "replies_twice"},
    {"replies-once", "errs_twice"},
    {"replies-once", "tcp", ": never"},
    {"replies-once", "tcp", ": twice"},
    {"replies-once", "tcp", ": throws"},
    {"replies-once", "tcp", ": crashes", 1, "crashed"},
    {"replies-once", "tcp", ": hangs", 1, "timed out"},
    {"exports-one-symbol", "tcp_exports"},
    {"has-no-run-path", "tcp_run_path"},
    {"is-bound-at-load", "tcp_lazy"},
    {"is-bound-at-load", "tcp_norelro"},
    {"has-no-executable-data", "tcp_execstack"},
    {"needs-only-the-host", "tcp_needs"},
    {"has-its-pointer-before-constructors", "late_pointer"},
    {"keeps-its-symbols-local", "tcp"},
    {"points-to-its-object", "part_of_its_object"},
    {"leaves-the-hosts-words", "tcp"},
    {"has-one-name", "tcp"},
    {"is-called-tcp", "tcp"},
    {"initialises-again", "tcp"},
    {"knows-the-vocabulary", "tcp"},
    {"writes-nothing-before-a-request", "tcp"},
    {"writes-nothing-before-a-request", "changes_when_loaded"},
    {"changes-nothing-without-a-request", "tcp"},
    {"restores-on-release", "tcp"},
    {"restores-on-release", "restores_nothing"},
    {"restores-on-release", "hides_tunables"},
    {"changes-nothing-at-its-end", "tcp"},
    {"changes-nothing-at-its-end", "changes_at_its_end"},
    {"offers-its-callbacks", "tcp"},
    {"has-its-bases-in-order", "tcp"},
    {"starts-and-stops-without-effect", "tcp"},
    {"keeps-a-snapshot-for-each-layer", "tcp"},
    {"unloads", "tcp_nodelete"},
    {"unloads-with-a-layer", "tcp"},
    {"makes-many-layers", "tcp", ": files"},
    {"makes-many-layers", "tcp", ": memory"},
    {"works-on-threads", "tcp"},
    {"accepts-no-content", "tcp"},
    {"accepts-no-content", "tcp", ": body"},
    {"ignores-top-level-text", "tcp"},
    {"leaves-a-foreign-document", "tcp"},
    {"stops-at-a-foreign-element", "tcp"},
    {"imposes-its-defaults", "tcp"},
    {"imposes-its-defaults", "tcp", ": one"},
    {"sets-each-element", "tcp"},
    {"sets-each-element", "tcp", ": with two values"},
    {"sets-each-element", "tcp", ": without a file"},
    {"takes-the-last-of-repeated-elements", "tcp"},
    {"applies-each-top-level-element", "tcp"},
    {"keeps-earlier-values", "tcp"},
    {"ignores-what-it-does-not-know", "tcp"},
    {"compares-names-as-pointers", "tcp"},
    {"writes-values-as-they-are", "tcp"},
    {"survives-hostile-documents", "tcp", "", 1, "crashed"},
    {"returns-what-the-host-returned", "tcp"},
    {"changes-only-its-tunables", "tcp"},
    {"fails-at-a-read-only-file", "tcp"},
    {"fails-at-a-directory", "tcp"},
    {"fails-at-a-socket", "tcp"},
    {"fails-at-a-loop", "tcp"},
    {"fails-without-a-descriptor", "tcp"},
    {"skips-a-missing-file", "tcp"},
    {"names-the-file", "tcp"},
    {"rolls-back-before-the-reply", "tcp"},
    {"rolls-back-earlier-requests", "tcp"},
    {"works-after-a-failure", "tcp"},
    {"releases-behind-an-obstacle", "tcp"},
    {"works-with-closed-output", "tcp"},
    {"works-with-full-output", "tcp"},
    {"prints-its-progress", "tcp"},
    {"prints-no-errors", "tcp"},
    {"closes-its-files", "tcp"},
    {"starts-no-thread", "tcp"},
    {"leaves-the-process-as-it-is", "tcp"},
};

// For the names of the tests.
void PrintTo(const Row& row, std::ostream* out) {
  *out << row.plugin << row.way << ": " << row.test;
}

Outcome Validate(const Row& row, std::vector<std::string> options) {
  options.insert(options.begin(), {"validate", "--json", TestPlugin(row.plugin)});
  return Kaehost(options,
                 [&row] { setenv("BREAK", (row.test + std::string(row.way)).c_str(), 1); });
}

// The results that are not "passed" or "skipped".
std::map<std::string, std::string> BadOnes(const json& told) {
  std::map<std::string, std::string> bad;
  for (const json& test : told.at("tests")) {
    if (test["result"] != "passed" && test["result"] != "skipped") {
      bad[test["test"]] = test["result"];
    }
  }
  return bad;
}

std::vector<std::string> NamesOfTests() {
  std::istringstream lines(Kaehost({"validate", "--list"}).out);
  std::vector<std::string> names;
  for (std::string line; std::getline(lines, line);) {
    names.push_back(line.substr(0, line.find(' ')));
  }
  return names;
}

class BrokenPluginOf : public testing::TestWithParam<Row> {};

}  // namespace

TEST_P(BrokenPluginOf, IsRefusedByTheTestThatIsMeantForIt) {
  const Row& row = GetParam();
  std::vector<std::string> options = {std::string("--timeout=") +
                                      (std::string(row.result) == "timed out" ? "2" : "60")};
  if (!kHasAllTests) {
    options.insert(options.end(), {"--include", std::string("^") + row.test + "$"});
  } else if (row.test != std::string("makes-many-layers")) {  // this one takes long
    options.insert(options.end(), {"--exclude", "makes-many-layers"});
  }
  const Outcome run = Validate(row, options);
  EXPECT_EQ(run.status, row.status) << run.err;
  const std::map<std::string, std::string> expected = {{row.test, row.result}};
  EXPECT_EQ(BadOnes(Parsed(run.out)), expected) << run.out;
}

// The proof of the table: there is no test that accepts everything.
TEST(BrokenPlugins, ThereIsOneForEachTest) {
  std::set<std::string> refusing;
  for (const Row& row : kRows) {
    refusing.insert(row.test);
  }
  const std::vector<std::string> names = NamesOfTests();
  EXPECT_THAT(names, SizeIs(Gt(40U)));
  EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), refusing);
}

INSTANTIATE_TEST_SUITE_P(Validate, BrokenPluginOf, testing::ValuesIn(kRows));
