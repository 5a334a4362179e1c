// kaehost import: which files it reads, its options, exit statuses and JSON.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <string>

#include "tests/devhost/support/json.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string kUnknown = ": not in the catalogue; set it in another way\n";
const std::string kDefaultsNote =
    "kaehost: the files do not set these, so the plug-in will write its defaults:";

// The lines for all elements that a first request sets, except three.
const std::string kMost =
    "net.ipv4.tcp_rmem = 1 2 3\nnet.ipv4.tcp_wmem = 1 2 3\nnet.ipv4.tcp_keepalive_time = 1\n"
    "net.ipv4.tcp_keepalive_probes = 1\nnet.ipv4.tcp_keepalive_intvl = 1\n"
    "net.ipv4.tcp_retries1 = 1\nnet.ipv4.tcp_retries2 = 1\nnet.ipv4.tcp_fin_timeout = 1\n";
const std::string kThree =
    "net.ipv4.tcp_ecn = 1\nnet.ipv4.tcp_synack_retries = 1\nnet.ipv4.tcp_timestamps = 1\n";

// For `prepare`: makes standard output one that cannot be written.
void FillStandardOutput() { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); }

std::string Repeated(const std::string& text, std::size_t times) {
  std::string all;
  while (times-- > 0) {
    all += text;
  }
  return all;
}

class Import : public testing::Test {
 protected:
  std::string Settings(const std::string& text) const {
    return folder_.Write("settings.conf", text);
  }

  const TempFolder folder_;
  const std::string document_ = folder_.Path("document.xml");
};

}  // namespace

TEST_F(Import, ReadsSeveralFilesOfWhichLaterOnesWin) {
  const std::string one = folder_.Write("one.conf", "net.ipv4.tcp_sack = 0\nx = 1\n");
  const std::string two = folder_.Write("two.conf", "\nx = 1\nnet.ipv4.tcp_sack = 1\n");
  const Outcome run = Kaehost({"import", one, two});
  EXPECT_THAT(run.out, HasSubstr("<tcp_sack>1</tcp_sack>"));
  EXPECT_THAT(run.err, StartsWith(one + ":2: x" + kUnknown + two + ":2: x" + kUnknown));
}

TEST_F(Import, ReadsStandardInput) {
  const std::string path = Settings("net.ipv4.tcp_sack = 0\ny");
  const Outcome run =
      Kaehost({"import", "-"}, [&] { dup2(open(path.c_str(), O_RDONLY), STDIN_FILENO); });
  EXPECT_THAT(run.out, HasSubstr("<tcp_sack>0</tcp_sack>"));
  EXPECT_THAT(run.err, StartsWith("standard input:2: y" + kUnknown));
}

TEST_F(Import, ReadsAFileOfOneMebibyteAndNoLongerOne) {
  const std::string setting = "net.ipv4.tcp_sack = 0\n";
  const std::string text = std::string((std::size_t{1} << 20) - setting.size(), '\n') + setting;
  const Outcome longest = Kaehost({"import", "--quiet", Settings(text)});
  EXPECT_EQ(longest.status, 0) << longest.err;
  EXPECT_THAT(longest.out, HasSubstr("<tcp_sack>0</tcp_sack>"));
  EXPECT_EQ(Kaehost({"import", "--quiet", Settings(text + '\n')}).status, 2);
}

TEST_F(Import, ShowsWhichFileCannotBeRead) {
  const std::string good = folder_.Write("good.conf", "net.ipv4.tcp_sack = 0\n");
  for (const auto& [path, why] :
       {std::pair{folder_.Path("missing.conf"), "cannot read: No such file or directory"},
        std::pair{std::string("/proc"), "cannot read: Is a directory"},
        std::pair{std::string("/dev/zero"),
                  "longer than 1 MiB; import only the lines that you need"}}) {
    const Outcome run = Kaehost({"import", "--quiet", good, path});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "kaehost: " + path + ": " + why + "; there is no document\n");
  }
}

TEST_F(Import, ListsTheDefaultsThatThePlugInWillWrite) {
  const Outcome run = Kaehost({"import", Settings(kMost)});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, kDefaultsNote + " tcp_ecn=0 tcp_synack_retries=5 tcp_timestamps=1\n");
  EXPECT_EQ(Kaehost({"import", Settings(kMost + kThree)}).err, "");
}

TEST_F(Import, QuietPrintsOnlyTheDocumentAndKeepsTheExitStatus) {
  for (const auto& [text, status] :
       {std::pair{"net.ipv4.tcp_sack = 0 # off\n", 0},
        std::pair{"net.ipv4.tcp_sack = 0\nx = 1\n", 1}, std::pair{"net.ipv4.tcp_sack = on\n", 1}}) {
    const std::string path = Settings(text);
    const Outcome told = Kaehost({"import", path});
    const Outcome quiet = Kaehost({"import", "--quiet", path});
    EXPECT_EQ(quiet.out, told.out);
    EXPECT_EQ(quiet.err, "");
    EXPECT_NE(told.err, "");
    EXPECT_EQ(quiet.status, status);
    EXPECT_EQ(told.status, status);
  }
}

// Each line beyond the catalogue is one that needs no report.
TEST_F(Import, QuietMakesADocumentOfAllTunablesOfTheKernel) {
  const Outcome run =
      Kaehost({"import", "--quiet", Settings(kMost + Repeated("x.y = a b\n", 2000))});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, HasSubstr("<tcp_retries2>1</tcp_retries2>"));
}

TEST_F(Import, ListsAThousandLines) {
  const Outcome run = Kaehost({"import", Settings(Repeated("x = 1\n", 1000) + kMost + kThree)});
  EXPECT_THAT(run.err, EndsWith(":1000: x" + kUnknown));
}

TEST_F(Import, CountsFurtherLinesThatItDoesNotList) {
  const std::string path =
      Settings("net.ipv4.tcp_sack = 0 # off\n" + Repeated("x = 1\n", 999) +
               Repeated("net.ipv4.tcp_dsack = 0 # off\n", 2) + "x = 1\n" + kMost + kThree);
  const Outcome run = Kaehost({"import", path});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, EndsWith(path + ":1000: x" + kUnknown +
                                "kaehost: 3 more lines are not listed; fix those above first\n"));
  EXPECT_THAT(run.out, AllOf(HasSubstr("<tcp_dsack>0</"), HasSubstr("<tcp_ecn>1</")));
  const json told = Parsed(Kaehost({"import", "--json", path}).out);
  EXPECT_EQ(told["not_listed"], 3);
  EXPECT_EQ(told["not_carried"].size(), 999U);
}

TEST_F(Import, IsIncompleteThoughTheLineIsNotListed) {
  const std::string path = Settings(Repeated("net.ipv4.tcp_sack = 0 # off\n", 1000) + "x = 1\n");
  const Outcome run = Kaehost({"import", path});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, HasSubstr("\nkaehost: 1 more "));
}

TEST_F(Import, LeavesNoFilesOpen) {
  std::vector<std::string> arguments(100, Settings(kMost));
  arguments.insert(arguments.begin(), {"import", "--quiet"});
  EXPECT_EQ(Kaehost(arguments, LimitOpenFiles).status, 0);
}

TEST_F(Import, HasNoDocumentIfStandardOutputCannotBeWritten) {
  const std::string path = Settings(kMost + kThree + "x = 1\n");
  const std::string lost = "kaehost: cannot write standard output; what it shows is incomplete\n";
  const Outcome run = Kaehost({"import", path}, FillStandardOutput);
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, path + ":12: x" + kUnknown + lost);
  EXPECT_EQ(Kaehost({"import", "--json", path}, FillStandardOutput).status, 2);
  EXPECT_EQ(Kaehost({"import", "--json", "--output", document_, path}, FillStandardOutput).status,
            1);
}

TEST_F(Import, JsonHasTheDocumentAndAllReports) {
  const std::string path =
      Settings("net.core.x = 1\nnet.ipv4.tcp_rmem = 1 2 # why\nnet.ipv4.tcp_adv_win_scale = -1\n");
  const Outcome run = Kaehost({"import", "--json", path});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "");
  json told = Parsed(run.out);
  EXPECT_EQ(told.at("document"), Kaehost({"import", path}).out);
  EXPECT_EQ(told.at("defaults").size(), 13U);
  EXPECT_EQ(told.at("defaults").at("tcp_rmem_max"), 174760);
  told.erase("document");
  told.erase("defaults");
  EXPECT_EQ(told, Parsed(R"({
      "error": null,
      "elements": {"tcp_adv_win_scale": -1, "tcp_rmem_min": 1, "tcp_rmem_default": 2},
      "not_carried": [{"file": ")" +
                         path + R"(", "line": 1, "key": "net.core.x",
                       "sentence": "not in the catalogue; set it in another way"}],
      "notes": [{"file": ")" +
                         path +
                         R"(", "line": 2, "key": "net.ipv4.tcp_rmem",
                 "sentence": "imported without the comment \"# why\"; sysctl passes comments to the kernel, so move it to a separate line"}],
      "not_listed": 0,
      "status": 1})"));
}

TEST_F(Import, JsonHasAllFieldsIfThereIsNothingToReport) {
  const json nothing = Parsed(Kaehost({"import", "--json", Settings("# why\n")}).out);
  EXPECT_EQ(nothing.at("elements"), json::object());
  EXPECT_EQ(nothing.at("not_carried"), json::array());
  EXPECT_EQ(nothing.at("notes"), json::array());
  EXPECT_EQ(nothing.at("defaults").size(), 15U);
  const json all = Parsed(Kaehost({"import", "--json", Settings(kMost + kThree)}).out);
  EXPECT_EQ(all.at("defaults"), json::object());
}

TEST_F(Import, JsonGoesToStandardOutputIfTheDocumentGoesToAFile) {
  const Outcome run = Kaehost({"import", "--json", "--output", document_, Settings(kMost)});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(Kaehost({"check", "--quiet", document_}).status, 0);
  EXPECT_THAT(Parsed(run.out)["document"], HasSubstr("<tcp_retries2>1</tcp_retries2>"));
}

TEST_F(Import, JsonShowsWhyThereIsNoDocument) {
  const std::string missing = folder_.Path("missing.conf");
  const Outcome run = Kaehost({"import", "--json", missing});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(Parsed(run.out),
            json({{"error", missing + ": cannot read: No such file or directory"}, {"status", 2}}));
}

TEST_F(Import, JsonAndQuietExcludeEachOther) {
  const Outcome run = Kaehost({"import", "--json", "--quiet", "-"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "kaehost: options '--json' and '--quiet' are mutually exclusive\nTry 'kaehost import "
            "--help' for more information.\n");
}

TEST_F(Import, NeedsAFile) {
  const Outcome run = Kaehost({"import"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "kaehost: missing file operand\nTry 'kaehost import --help' for more information.\n");
}

TEST_F(Import, HasHelpWithItsOptionsAndExitStatuses) {
  const Outcome run = Kaehost({"import", "--help"});
  EXPECT_EQ(run.status, 0);
  for (const char* text : {"--output=FILE", "--json", "--quiet", "\nExit status:\n  0  "}) {
    EXPECT_THAT(run.out, HasSubstr(text));
  }
  EXPECT_THAT(run.out, Not(testing::ContainsRegex("[^\n]{81}")));
}
