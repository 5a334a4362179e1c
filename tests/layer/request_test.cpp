// What a layer makes of the elements of a request.

#include "tests/layer/request_fixture.h"

namespace {

using recording_host::Calls;
using recording_host::Element;
using recording_host::Intern;
using recording_host::kElement;
using recording_host::kText;
using recording_host::Node;
using recording_host::Settings;
using recording_host::Text;
using recording_host::Value;

// --- HandleRequest ---

TEST_F(RequestTest, HandlesNothingButATcpSettingsElement) {
  const auto layer = NewLayer();
  EXPECT_FALSE(layer->HandleRequest(&request, nullptr));
  EXPECT_FALSE(layer->HandleRequest(&request, Node(kText, Intern("tcp-settings"))));
  EXPECT_FALSE(layer->HandleRequest(&request, Node(2, Intern("tcp-settings"))));
  EXPECT_FALSE(layer->HandleRequest(&request, Element("other")));
  EXPECT_EQ(output.Take(), "");
  EXPECT_TRUE(layer->HandleRequest(&request, Settings()));
  EXPECT_EQ(output.Take(), kReceivedLine + WriteLines(StartValues()));
  EXPECT_TRUE(request.replies.empty());
}

TEST_F(RequestTest, AnswersFalseForAnElementThatMetAFileError) {
  const auto layer = NewLayer();
  tree.MakeFolder("core/rmem_max");
  EXPECT_FALSE(layer->HandleRequest(&request, Settings()));
  EXPECT_FALSE(layer->HandleConfig(&request, nullptr));
  EXPECT_EQ(request.replies.size(), 2U);
}

// --- HandleConfig ---

TEST_F(RequestTest, WritesTheWholeCatalogueForSettingsWithoutChildren) { ExpectServed({}, "", {}); }

TEST_F(RequestTest, TellsAndStoresEachValueInTheDocumentsOrder) {
  ExpectServed({Value("tcp_sack", "0"), Value("rmem_max", "5"), Value("tcp_rmem_max", "6")},
               SettingLine("tcp_sack", "0") + SettingLine("rmem_max", "5") +
                   SettingLine("tcp_rmem_max", "6"),
               {{"tcp_sack", "0"}, {"rmem_max", "5"}, {"tcp_rmem_max", "6"}});
}

TEST_F(RequestTest, LetsTheLastOfTwoValuesForOneSettingWin) {
  ExpectServed({Value("tcp_sack", "0"), Value("tcp_sack", "2")},
               SettingLine("tcp_sack", "0") + SettingLine("tcp_sack", "2"), {{"tcp_sack", "2"}});
}

TEST_F(RequestTest, PassesOverAnEmptyElementSilently) {
  ExpectServed({Element("tcp_sack"), Element("unknown")}, "", {});
}

TEST_F(RequestTest, SetsAnEmptyValueFromAnEmptyText) {
  ExpectServed({Value("tcp_sack", "")}, SettingLine("tcp_sack", ""), {{"tcp_sack", ""}});
}

TEST_F(RequestTest, TellsAnElementWhoseFirstChildIsNoText) {
  for (const int type : {kElement, 2, 3, -1}) {
    GivenKernelValues();
    ExpectServed({Element("tcp_sack", {Node(type, Intern("b")), Text("0")})},
                 "Content not text. Element: tcp_sack\n", {});
  }
}

TEST_F(RequestTest, TellsAnUnknownElementWhoseFirstChildIsNoText) {
  ExpectServed({Element("unknown", {Element("b")})}, "Content not text. Element: unknown\n", {});
}

TEST_F(RequestTest, IgnoresTheChildrenBehindTheFirst) {
  ExpectServed({Element("tcp_sack", {Text("5"), Text("6"), Element("b"), Node(2, nullptr)})},
               SettingLine("tcp_sack", "5"), {{"tcp_sack", "5"}});
}

TEST_F(RequestTest, TellsEachContentBetweenTheElementsByItsName) {
  ExpectServed({Text("\n  "), Value("tcp_sack", "0"), Text("\n"), Node(2, Intern("#comment")),
                Node(-7, Intern("other kind")), Node(257, Intern("tcp_ecn"), {Text("1")})},
               "Unknown element: #text\n" + SettingLine("tcp_sack", "0") +
                   "Unknown element: #text\nUnknown element: #comment\n"
                   "Unknown element: other kind\nUnknown element: tcp_ecn\n",
               {{"tcp_sack", "0"}});
}

TEST_F(RequestTest, TellsATextThatBearsASettingsNameAsUnknown) {
  ExpectServed({Node(kText, Intern("tcp_sack"), {Text("0")})}, "Unknown element: tcp_sack\n", {});
}

TEST_F(RequestTest, PrintsANullNameAsAnEmptyOneAndEveryLineAfterIt) {
  ExpectServed({Node(kText, nullptr), Value("tcp_sack", "0"), Node(2, nullptr)},
               "Unknown element: \n" + SettingLine("tcp_sack", "0") + "Unknown element: \n",
               {{"tcp_sack", "0"}});
}

TEST_F(RequestTest, PassesOverAnUnknownElementSilently) {
  ExpectServed(
      {Value("tcp_sock", "0"), Value("tcp_rmem", "1"), Value("tcp-settings", "2"), Value("", "3")},
      "", {});
}

TEST_F(RequestTest, MatchesNoSettingByANameThatIsEqualInTextOnly) {
  const std::string copy = "tcp_sack";
  ExpectServed({Node(kElement, copy.c_str(), {Text("0")})}, "", {});
}

TEST_F(RequestTest, MatchesTheElementNameAndNotTheMapsKey) {
  const auto layer = NewLayer();
  const char* key = layer->settings_.begin()->first;
  EXPECT_TRUE(Configure(*layer, Settings({Node(kElement, key, {Text("0")})})));
  EXPECT_EQ(output.Take(), kReceivedLine + WriteLines(StartValues()) + kSuccess);
}

TEST_F(RequestTest, GivesTheValueToTheFirstSettingInMapOrderThatBearsTheName) {
  const auto layer = NewLayer();
  layer->Empty();
  const char keys[2] = {};
  const char* name = Intern("tcp_sack");
  layer->settings_[&keys[1]] = new CTCPSetting("second", "0", "tcp_sack", name, nullptr);
  layer->settings_[&keys[0]] = new CTCPSetting("first", "0", "tcp_frto", name, nullptr);
  EXPECT_TRUE(Configure(*layer, Settings({Value("tcp_sack", "5")})));
  EXPECT_EQ(output.Take(), kReceivedLine + SettingLine("first", "5") +
                               "\nwriting config...\nfirst = 5\nsecond = 0\nconfig done\n" +
                               kSuccess);
}

TEST_F(RequestTest, StoresATextExactlyAsItComes) {
  for (const char* text :
       {" 1 ", "\n0\n", "99999999999999999999", "-1", "abc", "%s%d%n", "1 2 3"}) {
    GivenKernelValues();
    ExpectServed({Value("tcp_sack", text)}, SettingLine("tcp_sack", text), {{"tcp_sack", text}});
  }
}

TEST_F(RequestTest, StoresATextOfAnyLength) {
  const std::string text(1 << 20, '7');
  ExpectServed({Value("tcp_sack", text)}, SettingLine("tcp_sack", text), {{"tcp_sack", text}});
}

TEST_F(RequestTest, KeepsTheValuesOfEarlierRequests) {
  const auto layer = NewLayer();
  Configure(*layer, Settings({Value("tcp_sack", "5"), Value("tcp_frto", "6")}));
  Configure(*layer, Settings({Value("tcp_frto", "7")}));
  ExpectFiles(With({{"tcp_sack", "5"}, {"tcp_frto", "7"}}));
}

TEST_F(RequestTest, AsksTheHostForNothingMoreThanItNeedsAndInThisOrder) {
  const auto layer = NewLayer();
  kaml_content* document =
      Settings({Text("\n"), Element("tcp_sack"), Element("tcp_sack", {Element("b")}),
                Value("unknown", "0"), Value("tcp_sack", "0")});
  Calls().clear();
  Configure(*layer, document);
  EXPECT_EQ(Calls(),
            (std::vector<std::string>{
                "kaml_cont_type",                                          // by do_Configure
                "kaml_cont_type", "kaml_elem_name", "kaml_elem_contents",  // by HandleRequest
                "kaml_elem_name", "kaml_cont_type",                        // the text
                "kaml_cont_next",                                          //
                "kaml_elem_name", "kaml_cont_type", "kaml_elem_contents",  // the empty element
                "kaml_cont_next",                                          //
                "kaml_elem_name", "kaml_cont_type", "kaml_elem_contents", "kaml_cont_type",
                "kaml_cont_next",  // the one that holds an element
                "kaml_elem_name", "kaml_cont_type", "kaml_elem_contents", "kaml_cont_type",
                "kaml_cont_next",  // the unknown one
                "kaml_elem_name", "kaml_cont_type", "kaml_elem_contents", "kaml_cont_type",
                "kaml_text",      "kaml_cont_next",  // the value
                "kaml_cont_next", "SendSuccess"}));
}

TEST_F(RequestTest, ServesADocumentOfAHundredThousandElements) {
  std::vector<kaml_content*> contents;
  for (int i = 0; i < 50000; ++i) {
    contents.push_back(Value("unknown", "1"));
    contents.push_back(Element("tcp_sack"));
  }
  contents.push_back(Value("tcp_sack", "0"));
  ExpectServed(contents, SettingLine("tcp_sack", "0"), {{"tcp_sack", "0"}});
}

}  // namespace
