// The forms in which kaehost apply tells people what it finds: quiet, in colours; and the view with
// the whole catalogue.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <pty.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "devhost/kaehost/kernel/catalogue.h"
#include "tests/devhost/support/json.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::AllOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

namespace {

// One value of each kind that a request can have in a private namespace.
constexpr const char* kOfEachKind =
    "<tcp-settings><tcp_sack>1</tcp_sack><tcp_bic>0</tcp_bic>"
    "<tcp_fin_timeout>20 30</tcp_fin_timeout><tcp_frto>no</tcp_frto>"
    "<tcp_keepalive_time>0x3c</tcp_keepalive_time></tcp-settings>";

class Forms : public testing::Test {
 protected:
  const PrivateRun run_;
  const TempFolder folder_;
  const std::string document_ = folder_.Write("document.xml", kOfEachKind);
  const std::string counts_ = "kaehost: " + document_ +
                              ": 1 applied, 1 unchanged, 1 adjusted, 1 rejected, 1 missing, "
                              "4 overridden\n";
};

// What kaehost prints on a terminal.
std::string OnATerminal(const std::vector<std::string>& arguments, const char* kind = "xterm") {
  int terminal = -1;
  int standard_output = -1;
  EXPECT_EQ(openpty(&terminal, &standard_output, nullptr, nullptr, nullptr), 0);
  RunningKaehost kaehost(arguments, [standard_output, kind] {
    dup2(standard_output, STDOUT_FILENO);
    setenv("TERM", kind, 1);
  });
  close(standard_output);
  std::string text;
  char piece[4096];
  ssize_t size = 0;
  while ((size = read(terminal, piece, sizeof piece)) > 0) {
    text.append(piece, static_cast<std::size_t>(size));
  }
  close(terminal);
  kaehost.Finish();
  return text;
}

}  // namespace

TEST_F(Forms, ThePluginsLinesDoNothingToATerminal) {
  const std::vector<std::string> arguments = {"apply", document_, "--plugin",
                                              TestPlugin("forges_lines")};
  EXPECT_THAT(Kaehost(arguments).out, HasSubstr("an error\x1b[2J\tin colour\n"));
  EXPECT_THAT(OnATerminal(arguments), HasSubstr("an error<U+001B>[2J\tin colour\r\n"));
}

TEST_F(Forms, EachOutcomeIsTold) {
  const Outcome run = Kaehost({"apply", document_});
  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(
      run.out,
      AllOf(Not(HasSubstr("\n  tcp_sack")), ContainsRegex("\n  tcp_bic +missing +- +0 +-\n"),
            ContainsRegex("\n  tcp_fin_timeout +adjusted +60 +20 30 +20\n"),
            ContainsRegex("\n  tcp_frto +rejected +2 +no +2\n"),
            ContainsRegex("\n  tcp_keepalive_time +applied +7200 +0x3c +60\n"),
            ContainsRegex("\n  tcp_ecn +overridden +2 +- +0\n"), HasSubstr(counts_)));
}

TEST_F(Forms, VerboseTellsUnchangedValuesToo) {
  EXPECT_THAT(Kaehost({"apply", "--verbose", document_}).out,
              ContainsRegex("\n  tcp_sack +unchanged +1 +1 +1\n"));
}

TEST_F(Forms, WhatARollbackTakesBackIsRestored) {
  const Outcome run =
      Kaehost({"apply", "--live", document_}, [] { MountReadOnly("/proc/sys/net/ipv4/tcp_wmem"); });
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, AllOf(ContainsRegex("\n  tcp_sack +restored +1 +1 +1\n"),
                             ContainsRegex("\n  tcp_bic +missing +- +0 +-\n"),
                             HasSubstr("kaehost: " + document_ + ": 1 missing, 4 restored\n")));
}

TEST_F(Forms, QuietTellsWhatIsWrongAndTheCounts) {
  const Outcome run = Kaehost({"apply", "--quiet", document_});
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "  element          outcome   before  asked  now\n"
            "  tcp_bic          missing   -       0      -\n"
            "  tcp_fin_timeout  adjusted  60      20 30  20\n"
            "  tcp_frto         rejected  2       no     2\n" +
                counts_);
}

TEST_F(Forms, QuietTellsOneLineWhereAllIsWell) {
  const std::string good =
      folder_.Write("good.xml", "<tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>");
  const Outcome run = Kaehost({"apply", "--quiet", good});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "kaehost: " + good + ": 1 applied, 4 overridden\n");
}

TEST_F(Forms, LongValueIsCutAndKeepsToItsLine) {
  const std::string tail(1000, '9');
  const std::string document = folder_.Write(
      "long.xml", "<tcp-settings><tcp_sack>no&#13;" + tail + "</tcp_sack></tcp-settings>");
  const Outcome run = Kaehost({"apply", "--quiet", document});
  EXPECT_THAT(run.out, HasSubstr("  rejected  1       no " + tail.substr(0, 57) + "...  1\n"));
}

TEST_F(Forms, QuietTellsWhatIsNotBack) {
  const Outcome run =
      Kaehost({"apply", "--quiet", document_, "--plugin", TestPlugin("restores_nothing")});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(
      run.out,
      HasSubstr("kaehost: layer released; not restored by the layer, but by kaehost:\n  tunable "));
  EXPECT_THAT(run.out, Not(HasSubstr("[do_")));
}

TEST_F(Forms, ColoursAreForTerminals) {
  unsetenv("NO_COLOR");
  const std::string text = OnATerminal({"apply", "--quiet", document_});
  EXPECT_THAT(text, AllOf(HasSubstr("\033[33m  tcp_bic "), HasSubstr("\033[31m  tcp_frto "),
                          HasSubstr("\033[0m\r\n")));
  EXPECT_THAT(OnATerminal({"apply", document_}), HasSubstr("\033[32m  tcp_keepalive_time "));
  if (HasReadOnlyCoreFiles()) {
    EXPECT_THAT(OnATerminal({"apply", "--as-is", document_}), HasSubstr("\033[31m  tcp_sack "));
  }
  EXPECT_THAT(Kaehost({"apply", document_}).out, Not(HasSubstr("\033")));
}

TEST_F(Forms, ColoursAreNotForThoseWhoRefuseThem) {
  setenv("NO_COLOR", "1", 1);
  EXPECT_THAT(OnATerminal({"apply", document_}), Not(HasSubstr("\033")));
  setenv("NO_COLOR", "", 1);
  EXPECT_THAT(OnATerminal({"apply", document_}), HasSubstr("\033"));
  EXPECT_THAT(OnATerminal({"apply", document_}, "dumb"), Not(HasSubstr("\033")));
}

TEST_F(Forms, WholeCatalogueHasEveryFileAndNamesTheEmulatedOnes) {
  std::string all = "<tcp-settings>";
  for (const devhost::CatalogueEntry& entry : devhost::Catalogue()) {
    all +=
        '<' + std::string(entry.element) + '>' + entry.default_value + "</" + entry.element + '>';
  }
  const std::string document = folder_.Write("all.xml", all + "</tcp-settings>");
  const Outcome run = Kaehost({"apply", "--json", "--whole-catalogue", document});
  const json told = Parsed(run.out);
  EXPECT_EQ(told["status"], 0);
  EXPECT_EQ(told["restored"], true);
  EXPECT_EQ(told["requests"][0]["counts"].count("missing"), 0U);
  EXPECT_EQ(told["requests"][0]["outcomes"].size(), devhost::Catalogue().size());
  EXPECT_THAT(told["emulated"], AllOf(Contains("ipv4/tcp_bic"), Contains("ipv4/tcp_mem"),
                                      Not(Contains("ipv4/tcp_sack"))));
  const json& bic = told["requests"][0]["outcomes"][5];
  EXPECT_EQ(bic["element"], "tcp_bic");
  EXPECT_EQ(bic["outcome"], "unchanged");
  EXPECT_EQ(bic["emulated"], true);
  EXPECT_THAT(told["progress"], Not(Contains(HasSubstr("does not exist"))));
}

TEST_F(Forms, WholeCatalogueIsTheKernelsOwnWhereItCan) {
  const std::string command =
      "cd /proc/sys/net; cat ipv4/tcp_mem ipv4/tcp_fin_timeout; echo; "
      "ls -d ipv4/conf/lo core ipv6 2>&1; [ -e /proc/fs/ipv4 ] || echo no folder left";
  const Outcome run =
      Kaehost({"apply", "--quiet", "--whole-catalogue", document_, "--", "sh", "-c", command});
  EXPECT_THAT(run.out, HasSubstr("49152 65536 9830420\n"));
  EXPECT_THAT(run.out, HasSubstr("ipv4/conf/lo\n"));
  EXPECT_THAT(run.out, HasSubstr("\nno folder left\n")) << "in which the view was put together";
}

TEST_F(Forms, WholeCatalogueIsNotAsTheKernelHasIt) {
  const Outcome run = Kaehost({"apply", "--whole-catalogue", "--as-is", document_});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "kaehost: options '--as-is' and '--whole-catalogue' are mutually exclusive\nTry "
            "'kaehost apply --help' for more information.\n");
}

TEST_F(Forms, AnErrorComesWithTheAdviceThatFitsIt) {
  const std::string core_advice =
      "core/rmem_max and core/wmem_max are read-only outside the initial network namespace; leave "
      "out --as-is and --live to emulate them";
  const std::pair<std::string, std::string> cases[] = {
      {"[/proc/sys/net/core/rmem_max]: Permission denied", core_advice},
      {"[/proc/sys/net/ipv4/tcp_sack]: Permission denied",
       "only root of the network namespace can write this file; run as root there"},
      {"[/proc/sys/net/core/rmem_max]: Read-only file system",
       "/proc/sys is mounted read-only, as in most containers; start the container with a writable "
       "/proc/sys"},
      {"[/proc/sys/net/core/rmem_max]: Too many open files", ""},
  };
  for (const auto& [detail, advice] : cases) {
    const std::string failing = folder_.Write("failing.xml", "<a>" + detail + "</a>");
    const Outcome run = Kaehost({"apply", "--quiet", failing, "--plugin", TestPlugin("fails")});
    EXPECT_EQ(run.status, 1) << detail;
    EXPECT_THAT(run.out, HasSubstr("kaehost: reply: error: file error: " + detail + "\n" +
                                   (advice.empty() ? "" : "kaehost: " + advice + "\n") +
                                   "kaehost: " + failing + ": nothing requested"));
  }
}
