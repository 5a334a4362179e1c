// The callbacks through which the host drives a layer.

#include <new>

#include "tests/layer/request_fixture.h"

namespace {

using recording_host::Calls;
using recording_host::Element;
using recording_host::Intern;
using recording_host::kElement;
using recording_host::kText;
using recording_host::List;
using recording_host::Node;
using recording_host::Settings;
using recording_host::Text;
using recording_host::Value;

// --- do_Configure ---

TEST_F(RequestTest, AnswersNoContentWithSuccessAndDoesNothingElse) {
  const auto layer = NewLayer();
  EXPECT_TRUE(Configure(*layer, nullptr));
  EXPECT_EQ(output.Take(), kSuccess);
  ExpectNothingWritten();
}

TEST_F(RequestTest, HandsOnWhatTheHostAnswersToTheSuccessReply) {
  const auto layer = NewLayer();
  for (const bool answer : {true, false}) {
    request.answer = answer;
    EXPECT_EQ(Configure(*layer, nullptr), answer);
    EXPECT_EQ(Configure(*layer, Settings()), answer);
    EXPECT_EQ(Configure(*layer, Text("text")), answer);
  }
}

TEST_F(RequestTest, PassesOverTopLevelContentsThatAreNoElements) {
  const auto layer = NewLayer();
  for (const int type : {kText, 2, 3, -1, 257, 4711}) {
    EXPECT_TRUE(Configure(*layer, Node(type, Intern("tcp-settings"), {Value("tcp_sack", "0")})));
    EXPECT_EQ(output.Take(), kSuccess) << type;
  }
  ExpectNothingWritten();
}

TEST_F(RequestTest, LeavesAForeignElementUnanswered) {
  const auto layer = NewLayer();
  const std::string equal_text_only = "tcp-settings";
  for (const char* name : {Intern("tcp_settings"), Intern("TCP-SETTINGS"), Intern("tcp_sack"),
                           Intern(""), equal_text_only.c_str()}) {
    EXPECT_FALSE(Configure(*layer, Node(kElement, name, {Value("tcp_sack", "0")}))) << name;
    EXPECT_EQ(output.Take(), "") << name;
  }
  EXPECT_TRUE(request.replies.empty());
  ExpectNothingWritten();
}

TEST_F(RequestTest, AppliesEachOfTwoSettingsElementsAndRepliesOnce) {
  const auto layer = NewLayer();
  EXPECT_TRUE(Configure(
      *layer, List({Settings({Value("tcp_sack", "0")}), Settings({Value("tcp_frto", "7")})})));
  EXPECT_EQ(output.Take(), kReceivedLine + SettingLine("tcp_sack", "0") +
                               WriteLines(With({{"tcp_sack", "0"}})) + kReceivedLine +
                               SettingLine("tcp_frto", "7") +
                               WriteLines(With({{"tcp_sack", "0"}, {"tcp_frto", "7"}})) + kSuccess);
  EXPECT_EQ(request.replies.size(), 1U);
}

TEST_F(RequestTest, AnswersFalseAfterAFileErrorWhateverTheHostAnswered) {
  const auto layer = NewLayer();
  tree.MakeFolder("core/rmem_max");
  for (const bool answer : {true, false}) {
    request.answer = answer;
    EXPECT_FALSE(Configure(*layer, Settings()));
  }
}

// --- Start and stop ---

TEST_F(RequestTest, DoesNothingToStartOrStop) {
  const auto layer = NewLayer();
  for (const auto& [key, setting] : layer->settings_) {
    setting->SetValue("other");
  }
  Calls().clear();
  layer->do_Start();
  layer->do_Stop();
  layer->do_Stop();
  layer->do_Start();
  EXPECT_EQ(output.Take(), "");
  EXPECT_TRUE(Calls().empty());
  ExpectNothingWritten();
  for (const auto& [key, setting] : layer->settings_) {
    EXPECT_STREQ(setting->GetValue(), "other") << key;
  }
}

// --- do_Release ---

TEST_F(RequestTest, WritesTheSnapshotBackAndFreesTheLayerOnRelease) {
  auto* layer = NewLayer().release();
  Configure(*layer, Settings({Value("tcp_sack", "0")}));
  output.Take();
  Calls().clear();
  layer->do_Release();
  EXPECT_EQ(output.Take(), kToPreviousLines + WriteLines(KernelValues()));
  ExpectFiles(KernelValues());
  EXPECT_EQ(Calls(), (std::vector<std::string>{"~kaeCPLayer"}));
}

// Tells of its own end and of that of its storage.
struct TellingLayer : kaTCPLayer {
  explicit TellingLayer(std::vector<std::string>* ends) : ends_(ends) {}
  ~TellingLayer() override { ends_->emplace_back("destroyed"); }
  static void operator delete(TellingLayer* layer, std::destroying_delete_t) {
    auto* ends = layer->ends_;
    layer->~TellingLayer();
    ::operator delete(layer);
    ends->emplace_back("freed");
  }
  std::vector<std::string>* ends_;
};

TEST_F(RequestTest, EndsThroughItsVirtualDestructorAndFreesItsStorageOnRelease) {
  std::vector<std::string> ends;
  (new TellingLayer(&ends))->do_Release();
  EXPECT_THAT(ends, testing::ElementsAre("destroyed", "freed"));
}

TEST_F(RequestTest, LooksAtNothingBehindAForeignElementOrAFileError) {
  const auto layer = NewLayer();
  const std::vector<std::string> foreign = {"kaml_cont_type", "kaml_cont_type", "kaml_elem_name"};
  kaml_content* document = List({Element("other"), Settings()});
  Calls().clear();
  Configure(*layer, document);
  EXPECT_EQ(Calls(), foreign);
  tree.MakeFolder("core/rmem_max");
  document = List({Settings(), Settings()});
  Calls().clear();
  Configure(*layer, document);
  EXPECT_EQ(Calls().back(), "SendError");
}

}  // namespace
