// kaehost apply with the plug-in that lies beside it.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/devhost/support/nodes.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

namespace {

void ExpectInOrder(const std::string& text, const std::vector<std::string>& pieces) {
  std::size_t from = 0;
  for (const std::string& piece : pieces) {
    const std::size_t found = text.find(piece, from);
    ASSERT_NE(found, std::string::npos) << '"' << piece << "\" is not at its place in\n" << text;
    from = found + piece.size();
  }
}

// The part of `text` from `begin` up to `end`.
std::string Part(const std::string& text, const std::string& begin, const std::string& end) {
  const std::size_t from = text.find(begin);
  const std::size_t to = text.find(end, from);
  EXPECT_TRUE(from != std::string::npos && to != std::string::npos) << text;
  return from < to && to != std::string::npos ? text.substr(from, to - from) : "";
}

int Count(const std::string& text, const std::string& piece) {
  int count = 0;
  for (auto at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) {
    ++count;
  }
  return count;
}

class Apply : public testing::Test {
 protected:
  // Writes a document that sets the tunable `name`, and answers its path.
  std::string Setting(const std::string& name, const std::string& value) const {
    return folder_.Write(name + ".xml",
                         "<tcp-settings><" + name + ">" + value + "</" + name + "></tcp-settings>");
  }

  const TempFolder folder_;
};

}  // namespace

TEST_F(Apply, ShowsTheWholeLifeOfALayer) {
  const std::string document = Setting("tcp_sack", "0");
  const Outcome run = Kaehost({"apply", "--verbose", document});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  ExpectInOrder(run.out, {"kaehost: in a private namespace; ",
                          "kaehost: plug-in TCP, version 001.000\n\nreading previous config...\n",
                          "reading config done\n\nsetting to previous values\n\n",
                          "kaehost: request: " + document + "\nreceived TCP_Settings command\n",
                          "Setting new value - tcp_sack = 0\n\nwriting config...\n",
                          "tcp_sack = 0\n", "config done\n\nkaehost: reply: success\n  element ",
                          "\nkaehost: " + document + ": 1 applied, ",
                          "\n\nkaehost: releasing the layer\n\nsetting to previous values\n",
                          "tcp_sack = 1\n",
                          "config done\n\nkaehost: layer released; all tunables restored\n"});
}

TEST_F(Apply, SetsItsSectionsApartByOneEmptyLine) {
  const Outcome run =
      Kaehost({"apply", "--verbose", Setting("tcp_sack", "0"), Setting("tcp_ecn", "1")});
  EXPECT_THAT(run.out, Not(HasSubstr("\n\n\n")));
  EXPECT_EQ(Count(run.out, "\n\nkaehost: "), 6);
}

TEST_F(Apply, SaysWhichCoreFilesAreEmulated) {
  const Outcome run = Kaehost({"apply", Setting("rmem_max", "5000000")});
  EXPECT_EQ(run.status, 0) << run.out;
  if (HasReadOnlyCoreFiles()) {
    EXPECT_THAT(run.out, AllOf(HasSubstr("out of reach\nkaehost: emulated by scratch files: "
                                         "core/rmem_max, core/wmem_max\nkaehost: plug-in "),
                               ContainsRegex("\n  rmem_max +applied +[0-9]+ +5000000 +5000000 "
                                             "\\(emulated\\)\n")));
  } else {
    EXPECT_THAT(run.out, Not(HasSubstr("emulated")));
  }
}

TEST_F(Apply, ShowsTheChangedTunablesBeforeAndAfter) {
  const Outcome run = Kaehost({"apply", Setting("tcp_port_min", "40000")});
  EXPECT_THAT(run.out, AllOf(ContainsRegex("\n  element +outcome +before +asked +now\n"),
                             ContainsRegex("\n  tcp_port_min +applied +32768 +40000 +40000\n"),
                             Not(HasSubstr("\n  tcp_sack ")), Not(HasSubstr("\n  tcp_port_max "))));
}

TEST_F(Apply, DeliversEachDocumentAsARequestOfItsOwnToOneLayer) {
  const std::string first = Setting("tcp_sack", "0");
  const std::string second = Setting("tcp_fin_timeout", "15");
  const Outcome run = Kaehost({"apply", "--verbose", first, second});
  EXPECT_EQ(run.status, 0) << run.out;

  const std::string first_part =
      Part(run.out, "kaehost: request: " + first, "kaehost: request: " + second);
  EXPECT_THAT(first_part, ContainsRegex("\n  tcp_sack +applied +1 +0 +0\n"));
  EXPECT_THAT(first_part, Not(HasSubstr("\n  tcp_fin_timeout")));

  const std::string second_part =
      Part(run.out, "kaehost: request: " + second, "kaehost: releasing");
  EXPECT_THAT(second_part, ContainsRegex("\n  tcp_fin_timeout +applied +60 +15 +15\n"));
  EXPECT_THAT(second_part, Not(HasSubstr("\n  tcp_sack")));
  EXPECT_THAT(second_part, HasSubstr("\ntcp_sack = 0\n")) << "the layer keeps what came first";

  EXPECT_EQ(Count(run.out, "kaehost: reply: success\n"), 2);
  EXPECT_EQ(Count(run.out, "reading previous config"), 1);
  EXPECT_EQ(Count(run.out, "kaehost: releasing the layer\n"), 1);
}

TEST_F(Apply, SaysWhenARequestFindsWhatItAsksFor) {
  const std::string document = Setting("tcp_sack", "0");
  const Outcome run = Kaehost({"apply", document, document});
  EXPECT_EQ(run.status, 0);
  ExpectInOrder(run.out, {": 1 applied, ", "kaehost: request: ",
                          "kaehost: reply: success\nkaehost: " + document + ": 1 unchanged\n"});
}

TEST_F(Apply, AValueThatIsAdjustedIsNotAsAsked) {
  const Outcome run = Kaehost({"apply", "--quiet", Setting("tcp_fin_timeout", "20 30")});
  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(run.out, ContainsRegex(": 1 adjusted, [0-9]+ overridden\n$"));
}

TEST_F(Apply, RestoredIsAValueFromBeforeTheLayer) {
  const std::string document = folder_.Write("document.xml", "<tcp-settings/>");
  const Outcome run = Kaehost({"apply", document, document, "--plugin", TestPlugin("rolls_back")});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("  tcp_sack  overridden  1       -      0\n"));
  EXPECT_THAT(run.out, HasSubstr("  tcp_sack  restored  0       -      1\n"));
}

TEST_F(Apply, AsIsShowsTheErrorReplyAndTheRollback) {
  const Outcome run = Kaehost({"apply", "--as-is", Setting("tcp_sack", "0")});
  EXPECT_THAT(run.out, Not(HasSubstr("emulated")));
  if (!HasReadOnlyCoreFiles()) {
    EXPECT_EQ(run.status, 0) << run.out;
    return;
  }
  EXPECT_EQ(run.status, 1);
  const std::string advice =
      "kaehost: core/rmem_max and core/wmem_max are read-only outside the initial network "
      "namespace; leave out --as-is and --live to emulate them\n";
  ExpectInOrder(
      run.out,
      {"file write error: [/proc/sys/net/core/rmem_max]: Permission denied\n",
       "\nkaehost: reply: error: file error: [/proc/sys/net/core/rmem_max]: Permission denied\n",
       advice, "\n  tcp_sack  restored  1       0      1\n", ": 1 restored\n",
       "kaehost: layer released; all tunables restored\n"});
}

TEST_F(Apply, OneFailedRequestAmongSeveralIsAFailure) {
  const std::string foreign = folder_.Write("foreign.xml", "<udp-settings/>");
  const Outcome run = Kaehost({"apply", foreign, Setting("tcp_sack", "0")});
  EXPECT_EQ(run.status, 1);
  ExpectInOrder(run.out, {"kaehost: reply: none", "kaehost: reply: success\n",
                          "kaehost: layer released; all tunables restored\n"});
}

TEST_F(Apply, WithoutAReplyIsNoSuccess) {
  const Outcome run =
      Kaehost({"apply", Setting("tcp_sack", "0"), "--plugin", TestPlugin("silent")});
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_sack +restored +1 +0 +1\n"));
}

TEST_F(Apply, LeavesNoFilesOpen) {
  std::vector<std::string> arguments(100, Setting("tcp_sack", "0"));
  arguments.insert(arguments.begin(), {"apply", "--quiet"});
  const Outcome run = Kaehost(arguments, LimitOpenFiles);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(Count(run.out, ": 1 unchanged\n"), 99);
}

TEST_F(Apply, ForeignRootGetsNoReply) {
  const std::string foreign = folder_.Write("foreign.xml", "<udp-settings/>");
  const Outcome run = Kaehost({"apply", foreign});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("kaehost: request: " + foreign +
                                 "\nkaehost: reply: none; the layer did not reply to the request\n"
                                 "kaehost: " +
                                 foreign + ": nothing requested, nothing changed\n"));
}

TEST_F(Apply, DeliversADeepDocumentOnASmallStack) {
  const std::string deep = folder_.Write("deep.xml", "<tcp-settings>" + NestedElements(100'000) +
                                                         "<tcp_sack>0</tcp_sack></tcp-settings>");
  const Outcome run = Kaehost({"apply", deep}, TakeASmallStack);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_sack +applied +1 +0 +0\n"));
}
