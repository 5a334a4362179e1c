// Which of the plug-in's lines kaehost apply shows.

#include "devhost/kaehost/apply/plugin_lines.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>

#include "tests/devhost/support/json.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using devhost::Folded;
using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

namespace {

class PluginLines : public testing::Test {
 protected:
  const PrivateRun run_;
  const TempFolder folder_;
  const std::string document_ =
      folder_.Write("document.xml", "<tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>");
};

int CountLines(const std::string& text) {
  return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

TEST(Folded, IsALineWithTheNumber) {
  EXPECT_EQ(Folded(""), "");
  EXPECT_EQ(Folded("a\n"), "... 1 line of the plug-in ...\n");
  EXPECT_EQ(Folded("\na\n\n"), "... 3 lines of the plug-in ...\n");
  EXPECT_EQ(Folded("a\nb"), "... 2 lines of the plug-in ...\n");
}

TEST(Folded, KeepsLinesThatReportAnError) {
  for (const std::string line : {
           "error opening stream for write - file [/proc/sys/net/ipv4/tcp_sack]; error: "
           "Read-only file system",
           "error opening stream for read -  file [/proc/sys/net/ipv4/tcp_sack]; error: "
           "Permission denied",
           "stream not good for i/o - file [/proc/sys/net/ipv4/tcp_sack]; error: 0",
           "file write error: [/proc/sys/net/ipv4/tcp_sack]: Permission denied",
           "Content not text. Element: tcp_sack",
           "WARNING: low memory",
           "Failed",
       }) {
    EXPECT_EQ(Folded("a\nb\n" + line + "\nc\n"),
              "... 2 lines of the plug-in ...\n" + line + "\n... 1 line of the plug-in ...\n");
    EXPECT_EQ(Folded(line), line + "\n");
  }
}

TEST(Folded, HidesLinesThatEveryKernelCauses) {
  for (const std::string line : {
           "error opening stream for read -  file [PATH]; error: No such file or directory",
           "file [/proc/sys/net/ipv4/tcp_bic]; does not exist. Skipped.",
           "Unknown element: ",
           "tcp_sack = 0",
           "Setting new value - tcp_sack = 0",
       }) {
    EXPECT_EQ(Folded(line + "\n"), "... 1 line of the plug-in ...\n") << line;
  }
}

TEST_F(PluginLines, AreFoldedByDefault) {
  const Outcome run = Kaehost({"apply", document_});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, AllOf(ContainsRegex("\nkaehost: plug-in TCP, version 001.000\n"
                                           "\\.\\.\\. [0-9]+ lines of the plug-in \\.\\.\\.\n"
                                           "kaehost: request: .*\n"
                                           "\\.\\.\\. [0-9]+ lines of the plug-in \\.\\.\\.\n"
                                           "kaehost: reply: success\n"),
                             ContainsRegex("\nkaehost: releasing the layer\n"
                                           "\\.\\.\\. [0-9]+ lines of the plug-in \\.\\.\\.\n"
                                           "kaehost: layer released; all tunables restored\n$"),
                             Not(HasSubstr("tcp_bic"))));
  EXPECT_LE(CountLines(run.out), 24) << "more than a screen";
}

TEST_F(PluginLines, FromItsLoadingAreFoldedToo) {
  EXPECT_THAT(Kaehost({"apply", document_, "--plugin", TestPlugin("working")}).out,
              HasSubstr("\nkaehost: plug-in test plug-in, version 1.0\n"
                        "... 2 lines of the plug-in ...\n"
                        "kaehost: request: "));
}

TEST_F(PluginLines, AreAllThereWithVerbose) {
  const Outcome run = Kaehost({"apply", "--verbose", document_});
  EXPECT_THAT(run.out, AllOf(HasSubstr("\nreading previous config...\n"),
                             HasSubstr("\nSetting new value - tcp_sack = 0\n"),
                             HasSubstr("; does not exist. Skipped.\n"),
                             HasSubstr("\nsetting to previous values\n"),
                             Not(HasSubstr(" of the plug-in ..."))));
}

TEST_F(PluginLines, OfAnErrorAreShownAmongTheOthers) {
  const std::string odd =
      folder_.Write("odd.xml", "<tcp-settings><tcp_sack><b/></tcp_sack></tcp-settings>");
  const Outcome run = Kaehost({"apply", odd});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, ContainsRegex("\nkaehost: request: .*\n"
                                     "\\.\\.\\. 1 line of the plug-in \\.\\.\\.\n"
                                     "Content not text. Element: tcp_sack\n"
                                     "\\.\\.\\. [0-9]+ lines of the plug-in \\.\\.\\.\n"
                                     "kaehost: reply: success\n"));
}

TEST_F(PluginLines, AreShownInFullWhenTheRequestFails) {
  const Outcome run =
      Kaehost({"apply", "--live", document_}, [] { MountReadOnly("/proc/sys/net/ipv4/tcp_frto"); });
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, ContainsRegex("\nkaehost: request: .*\n"
                                     "received TCP_Settings command\n(.*\n)*"
                                     "file write error: .*\n(.*\n)*"
                                     "kaehost: reply: error: file error: "));
}

TEST_F(PluginLines, AreShownInFullWhenThereIsNoReplyOrAnException) {
  for (const char* plugin : {"silent", "configure_throws"}) {
    const Outcome run = Kaehost({"apply", document_, "--plugin", TestPlugin(plugin)});
    EXPECT_EQ(run.status, 1) << plugin;
    EXPECT_THAT(run.out, ContainsRegex("\nkaehost: request: .*\n\\[do_Configure\\]\n\nkaehost: "))
        << plugin;
  }
}

TEST_F(PluginLines, AreShownInFullWhenTheReleaseFails) {
  for (const char* plugin : {"release_throws", "restores_nothing"}) {
    const Outcome run = Kaehost({"apply", document_, "--plugin", TestPlugin(plugin)});
    EXPECT_EQ(run.status, 1) << plugin;
    EXPECT_THAT(run.out, HasSubstr("\nkaehost: releasing the layer\n"
                                   "[do_Release]\n[layer destroyed]\n"
                                   "[CleanupPlugin]\n[plug-in destroyed]\n\nkaehost: "))
        << plugin;
  }
}

TEST_F(PluginLines, AreShownInFullWhenThePluginEndsTheProcess) {
  const Outcome run = Kaehost({"apply", document_, "--plugin", TestPlugin("exits")});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("\n[do_Configure]\n[plug-in destroyed]\n"));
}

TEST_F(PluginLines, OnStandardErrorGoThereDirectly) {
  setenv("MISBEHAVES", "InitPlugin print an error", 1);
  const Outcome run =
      Kaehost({"apply", "--verbose", document_, "--plugin", TestPlugin("misbehaves")});
  EXPECT_EQ(run.err, "an error\x1b[m\n");
}

TEST_F(PluginLines, AreKeptInOrderHoweverMuchAndByWhicheverWayItPrints) {
  std::ostringstream expected;
  for (int i = 0; i < 100'000; ++i) {
    expected << i << " printf, cout, write\n";
  }
  const std::string plugin = TestPlugin("prints_much");
  const std::string all = Kaehost({"apply", "--verbose", document_, "--plugin", plugin}).out;
  EXPECT_TRUE(all.find("document.xml\n" + expected.str() + "\nkaehost: reply: success\n") !=
              std::string::npos)
      << all.size() << " bytes";

  EXPECT_THAT(Kaehost({"apply", document_, "--plugin", plugin}).out,
              HasSubstr("\n... 100000 lines of the plug-in ...\nkaehost: reply: success\n"));

  const json told = Parsed(Kaehost({"apply", "--json", document_, "--plugin", plugin}).out);
  std::string progress;
  for (const json& line : told["progress"]) {
    const auto text = line.get<std::string>();
    progress += text.starts_with('[') ? "" : text + '\n';
  }
  EXPECT_TRUE(progress == expected.str()) << progress.size() << " bytes";
}
