#include "tests/model/reporter/print.h"

#include <gtest/gtest.h>

#include "tests/model/reporter/quote.h"

namespace model {
namespace {

TEST(Quote, EscapesWhatCannotBeSeen) {
  EXPECT_EQ(Quote(std::string("a\n\"\\\t\0\xc3", 7)), R"("a\n\"\\\x09\x00\xc3")");
}

TEST(Quote, CutsLongTextsShort) {
  EXPECT_EQ(Quote(std::string(200, 'x')), '"' + std::string(200, 'x') + '"');
  const std::string quoted = Quote(std::string(1000, 'x') + "end");
  EXPECT_LT(quoted.size(), 120U);
  EXPECT_TRUE(quoted.ends_with("xend\" (1003 bytes)")) << quoted;
}

TEST(Print, TellsAStory) {
  const Node text = {0, Node::kInterned, "#text", "7", {}};
  const Node sack = {1, Node::kStray, "tcp_sack", "", {text}};
  const Node odd = {3, Node::kNull, "", "", {}};
  Operation configure = {};
  configure.kind = Operation::kConfigure;
  configure.layer = 1;
  configure.document = {{1, Node::kInterned, "tcp-settings", "", {sack, sack, sack, odd}}};
  configure.answer = false;
  Operation change = {};
  change.kind = Operation::kChangeFile;
  change.file = "ipv4/tcp_ecn";
  change.state = {File::kReadOnly, "1\n"};
  change.when = "config done";
  EXPECT_EQ(Print(Scenario{{{"core/rmem_max", {File::kLoop, ""}}}, {configure, change}}),
            "core/rmem_max is a loop\n"
            "- configure layer 1, the host refuses the reply\n"
            "    element \"tcp-settings\"\n"
            "      element named by another pointer to \"tcp_sack\", 3 times\n"
            "        text \"#text\": \"7\"\n"
            "      node of type 3 without a name\n"
            "- at the line \"config done\": ipv4/tcp_ecn becomes read-only \"1\\n\"\n");
}

TEST(PrintDifference, IsEmptyWhereThereIsNone) {
  const Trace trace = {"a\n", {{"kaml_text", 0}}, {true}, {{"ipv4/tcp_sack", "1"}}};
  EXPECT_EQ(PrintDifference(trace, trace), "");
}

TEST(PrintDifference, TellsTheFirstLineThatDiffers) {
  Trace expected = {"1\n2\n3\n4\n5\n", {}, {}, {}};
  Trace seen = {"1\n2\n3\n4\nfive\n6\n", {}, {}, {}};
  EXPECT_EQ(PrintDifference(expected, seen),
            "lines of output differ after 4 equal ones\n"
            "            \"2\"\n            \"3\"\n            \"4\"\n"
            "  expected: \"5\"\n  seen:     \"five\"\n");
  seen.output = "1\n";
  EXPECT_EQ(PrintDifference(expected, seen),
            "lines of output differ after 1 equal ones\n            \"1\"\n"
            "  expected: \"2\"\n  seen:     no more\n");
}

// Each part of a trace counts, even the last byte.
TEST(PrintDifference, OverlooksNothing) {
  const Trace trace = {"a\n", {{"kaml_text", 0}}, {true}, {{"ipv4/tcp_sack", "1"}}};
  Trace other = trace;
  other.calls[0].second = 1;
  EXPECT_NE(PrintDifference(trace, other).find("calls of the host"), std::string::npos);
  other = trace;
  other.results = {false};
  EXPECT_NE(PrintDifference(trace, other).find("results"), std::string::npos);
  other = trace;
  other.files["ipv4/tcp_sack"] = "2";
  EXPECT_NE(PrintDifference(trace, other).find("ipv4/tcp_sack \"2\""), std::string::npos);
  other = trace;
  other.output = "a";
  EXPECT_NE(PrintDifference(trace, other), "");
}

}  // namespace
}  // namespace model
