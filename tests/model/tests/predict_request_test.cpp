#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/model/predictor/predict.h"
#include "tests/model/tests/story_verbs.h"

namespace model {

using namespace std::string_literals;

TEST(ModelOfRequests, AnswersAnEmptyDocumentOrOneWithoutElementsWithSuccessAlone) {
  for (const std::vector<Node>& document :
       {std::vector<Node>{}, {Words(" ")}, {{7, Node::kNull, "", "", {}}, Words("x")}}) {
    Operation configure = Configure(document);
    configure.answer = false;
    const Trace trace =
        Predict({{{"ipv4/tcp_sack", Text("9")}}, {NewLayer(), configure, TakeDescriptors()}});

    Lines told = Told(trace);
    told.resize(7);
    EXPECT_EQ(told, (Lines{"", "reading previous config...", "tcp_sack = 9", "reading config done",
                           "", "setting to previous values", "{success}"}))
        << document.size() << " contents";
    EXPECT_EQ(trace.results, std::vector<bool>{false});
  }
}

TEST(ModelOfRequests, GivesAForeignElementNoReplyAndLooksNoFurther) {
  const Node stray{1, Node::kStray, "tcp-settings", "", {}};
  for (const Node& foreign : {Element("other", {}), stray}) {
    const Trace trace =
        Predict({{}, {NewLayer(), Configure({Words(""), Settings({}), foreign, Settings({})})}});

    EXPECT_EQ(
        Told(trace),
        (kBirth + Lines{"received TCP_Settings command", "", "writing config...", "config done"} +
         kEnd))
        << foreign.name;
    EXPECT_EQ(trace.results, std::vector<bool>{false});
  }
}

TEST(ModelOfRequests, AppliesEverySettingsElementAndRepliesOnce) {
  const Trace trace =
      Predict({{}, {NewLayer(), Configure({Settings({Value("tcp_sack", "5")}), Settings({})})}});

  EXPECT_EQ(Told(trace),
            (kBirth +
             Lines{"received TCP_Settings command", "Setting new value - tcp_sack = 5", "",
                   "writing config...", "config done", "received TCP_Settings command", "",
                   "writing config...", "config done", "{success}"} +
             kEnd));
}

TEST(ModelOfRequests, SaysWhatItDoesNotTakeExceptElementsThatAreEmptyOrUnknown) {
  const Node named_comment{8, Node::kInterned, "tcp_sack\0x"s, "", {Words("1")}};
  const Node nameless{-1, Node::kNull, "", "", {}};
  const Node stray{1, Node::kStray, "tcp_bic", "", {Words("7")}};
  const Trace trace = Predict(
      {{},
       {NewLayer(),
        Configure({Settings({named_comment, nameless, Element("tcp_sack", {}),
                             Element("tcp_ecn", {Element("b", {}), Words("1")}),
                             Element("strange", {nameless}), Value("tcp_mem", "1"),
                             Value("ipfrag_time", "1"), stray, Value("tcp_ipfrag_time", "3")})})}});

  EXPECT_EQ(Told(trace),
            (kBirth +
             Lines{"received TCP_Settings command", "Unknown element: tcp_sack",
                   "Unknown element: ", "Content not text. Element: tcp_ecn",
                   "Content not text. Element: strange", "Setting new value - tcp_ipfrag_time = 3",
                   "", "writing config...", "config done", "{success}"} +
             kEnd));
}

TEST(ModelOfRequests, CallsTheHostStepByStepAtBothLevels) {
  const Trace trace = Predict(
      {{},
       {NewLayer(),
        Configure({Words(" "), Settings({Words("\n"), Element("tcp_bic", {}),
                                         Element("tcp_bic", {Element("i", {})}),
                                         Value("strange", "1"), Value("tcp_bic", "2")})})}});

  const std::string quiet = "setting to previous values\n";
  const std::string received = "received TCP_Settings command\n";
  const std::string unknown = "Unknown element: \n";
  const std::string not_text = "Content not text. Element: tcp_bic\n";
  EXPECT_EQ(CallsFrom(trace, kCallsOfABirth),
            (Calls{{"kaml_cont_type", quiet},
                   {"kaml_cont_next", quiet},
                   {"kaml_cont_type", quiet},
                   {"kaml_cont_type", quiet},
                   {"kaml_elem_name", quiet},
                   {"kaml_elem_contents", quiet},
                   // white space
                   {"kaml_elem_name", received},
                   {"kaml_cont_type", received},
                   {"kaml_cont_next", unknown},
                   // an empty element
                   {"kaml_elem_name", unknown},
                   {"kaml_cont_type", unknown},
                   {"kaml_elem_contents", unknown},
                   {"kaml_cont_next", unknown},
                   // an element in an element
                   {"kaml_elem_name", unknown},
                   {"kaml_cont_type", unknown},
                   {"kaml_elem_contents", unknown},
                   {"kaml_cont_type", unknown},
                   {"kaml_cont_next", not_text},
                   // a strange one
                   {"kaml_elem_name", not_text},
                   {"kaml_cont_type", not_text},
                   {"kaml_elem_contents", not_text},
                   {"kaml_cont_type", not_text},
                   {"kaml_cont_next", not_text},
                   // a value
                   {"kaml_elem_name", not_text},
                   {"kaml_cont_type", not_text},
                   {"kaml_elem_contents", not_text},
                   {"kaml_cont_type", not_text},
                   {"kaml_text", not_text},
                   {"kaml_cont_next", "Setting new value - tcp_bic = 2\n"},
                   {"kaml_cont_next", "config done\n"},
                   {"SendSuccess", "config done\n"},
                   {"~kaeCPLayer", "config done\n"}}));
}

}  // namespace model
