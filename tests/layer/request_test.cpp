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

// --- HandleConfig ---

TEST_F(RequestTest, WritesTheWholeCatalogueForSettingsWithoutChildren) { ExpectServed({}, "", {}); }

TEST_F(RequestTest, TellsAndStoresEachValueInTheDocumentsOrderSoThatTheLastWins) {
  ExpectServed(
      {Value("tcp_sack", "0"), Value("rmem_max", "5"), Value("tcp_sack", "2")},
      SettingLine("tcp_sack", "0") + SettingLine("rmem_max", "5") + SettingLine("tcp_sack", "2"),
      {{"tcp_sack", "2"}, {"rmem_max", "5"}});
}

TEST_F(RequestTest, NamesIpfragTimeByItsOwnElementAndTheJoinedFilesByNoneOfTheirOwn) {
  ExpectServed({Value("tcp_ipfrag_time", "30"), Value("ipfrag_time", "1"), Value("tcp_mem", "2"),
                Value("tcp_rmem", "3"), Value("tcp_wmem", "4"), Value("ip_local_port_range", "5")},
               SettingLine("tcp_ipfrag_time", "30"), {{"tcp_ipfrag_time", "30"}});
}

TEST_F(RequestTest, PassesOverEmptyAndUnknownElementsSilently) {
  const std::string equal_text_only = "tcp_sack";
  ExpectServed({Element("tcp_sack"), Element("unknown"), Value("tcp_sock", "0"), Value("", "3"),
                Node(kElement, equal_text_only.c_str(), {Text("0")})},
               "", {});
}

TEST_F(RequestTest, TellsAnElementWhoseFirstChildIsNoText) {
  for (const int type : {kElement, 2, 3, -1}) {
    GivenKernelValues();
    ExpectServed({Element("tcp_sack", {Node(type, Intern("b")), Text("0")}),
                  Element("unknown", {Node(type, Intern("b"))})},
                 "Content not text. Element: tcp_sack\nContent not text. Element: unknown\n", {});
  }
}

TEST_F(RequestTest, IgnoresTheChildrenBehindTheFirst) {
  ExpectServed({Element("tcp_sack", {Text("5"), Text("6"), Element("b"), Node(2, nullptr)})},
               SettingLine("tcp_sack", "5"), {{"tcp_sack", "5"}});
}

TEST_F(RequestTest, TellsEachContentBetweenTheElementsByItsNameWhichMayBeNull) {
  ExpectServed({Text("\n  "), Value("tcp_sack", "0"), Text("\n"), Node(2, Intern("#comment")),
                Node(-7, nullptr), Node(257, Intern("tcp_ecn"), {Text("1")})},
               "Unknown element: #text\n" + SettingLine("tcp_sack", "0") +
                   "Unknown element: #text\nUnknown element: #comment\n"
                   "Unknown element: \nUnknown element: tcp_ecn\n",
               {{"tcp_sack", "0"}});
}

TEST_F(RequestTest, MatchesTheElementNameAndNotTheMapsKey) {
  const auto layer = NewLayer();
  const char* key = layer->settings_.begin()->first;
  EXPECT_TRUE(Configure(*layer, Settings({Node(kElement, key, {Text("0")})})));
  ExpectFiles(StartValues());
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
       {"", " 1 ", "\n0\n", "99999999999999999999", "-1", "abc", "%s%d%n", "1 2 3"}) {
    GivenKernelValues();
    ExpectServed({Value("tcp_sack", text)}, SettingLine("tcp_sack", text), {{"tcp_sack", text}});
  }
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

}  // namespace
