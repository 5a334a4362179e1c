// A file that cannot be opened while a request is served, and the rollback.

#include <cerrno>
#include <fstream>

#include "tests/layer/fixture.h"

namespace {

using recording_host::Settings;
using recording_host::Value;

const std::string kMissing = "]; does not exist. Skipped.\n";
const std::string kNotOpened = "error opening stream for write - file [/proc/sys/net/";

std::string FailedLine(const std::string& file, const std::string& error) {
  return "file write error: [" + TunableTree::Path(file) + "]: " + error + "\n";
}

std::string ErrorReply(const std::string& file, const std::string& error) {
  return "{error \"file error\" \"[" + TunableTree::Path(file) + "]: " + error + "\"}\n";
}

// The lines of a pass up to `last`, which could not be opened.
std::string LinesBefore(const std::string& last, const Values& values) {
  const std::string lines = WriteLines(values);
  return lines.substr(0, lines.find(last + " = "));
}

TEST_F(LayerTest, EndsARequestsPassAtTheFirstFailureRollsBackAndThenReplies) {
  const auto layer = NewLayer();
  tree.MakeFolder("ipv4/tcp_sack");
  EXPECT_FALSE(layer->WriteConfig(&request));
  EXPECT_EQ(output.Take(),
            LinesBefore("tcp_sack", StartValues()) + FailedLine("ipv4/tcp_sack", "Is a directory") +
                kToPreviousLines +
                WriteLines(KernelValues(),
                           {{"tcp_sack", kNotOpened + "ipv4/tcp_sack]; error: Is a directory\n"}}) +
                ErrorReply("ipv4/tcp_sack", "Is a directory"));
  ExpectFiles(KernelValues());
}

TEST_F(LayerTest, WritesTheFilesBehindAFailureInTheRollbackOnly) {
  const auto layer = NewLayer();
  tree.MakeFolder("ipv4/tcp_sack");
  layer->Find("tcp_stdurg").SetValue("new");
  layer->WriteConfig(&request);
  EXPECT_EQ(tree.Read("ipv4/tcp_stdurg"), KernelValues()["tcp_stdurg"]);
  EXPECT_THAT(output.Take(), testing::Not(testing::HasSubstr("tcp_stdurg = new")));
}

TEST_F(LayerTest, RepliesWithTheErrorThatEndedThePassWhateverTheRollbackMeets) {
  const auto layer = NewLayer();
  tree.MakeFolder("core/wmem_max");
  tree.MakeLoop("ipv4/tcp_port_max");
  tree.MakeLoop("ipv4/ip_local_port_range");
  EXPECT_FALSE(layer->WriteConfig(&request));
  ASSERT_EQ(request.replies.size(), 1U);
  EXPECT_FALSE(request.replies[0].success);
  EXPECT_EQ(request.replies[0].error, "file error");
  EXPECT_EQ(request.replies[0].detail, "[/proc/sys/net/core/wmem_max]: Is a directory");
}

TEST_F(LayerTest, SendsOneReplyThoughTheRollbackMeetsFailingFiles) {
  const auto layer = NewLayer();
  Values errors;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    tree.MakeFolder(setting.file);
    if (*setting.container == '\0') {
      errors[setting.name] = kNotOpened + setting.file + "]; error: Is a directory\n";
    }
  }
  EXPECT_FALSE(layer->WriteConfig(&request));
  EXPECT_EQ(request.replies.size(), 1U);
  EXPECT_EQ(output.Take(), "\nwriting config...\n" + FailedLine("core/rmem_max", "Is a directory") +
                               kToPreviousLines + WriteLines(KernelValues(), errors) +
                               ErrorReply("core/rmem_max", "Is a directory"));
}

TEST_F(LayerTest, SkipsMissingFilesInTheRollbackToo) {
  const auto layer = NewLayer();
  tree.MakeMissing("ipv4/tcp_ecn");
  tree.MakeFolder("ipv4/tcp_sack");
  EXPECT_FALSE(layer->WriteConfig(&request));
  EXPECT_THAT(
      output.Take(),
      testing::EndsWith(
          WriteLines(KernelValues(),
                     {{"tcp_ecn", "file [/proc/sys/net/ipv4/tcp_ecn" + kMissing},
                      {"tcp_sack", kNotOpened + "ipv4/tcp_sack]; error: Is a directory\n"}}) +
          ErrorReply("ipv4/tcp_sack", "Is a directory")));
}

TEST_F(LayerTest, HoldsTheSnapshotInEverySettingAfterAFailure) {
  const auto layer = NewLayer();
  Configure(*layer, Settings({Value("tcp_frto", "earlier"), Value("tcp_mem_high", "earlier")}));
  tree.MakeFolder("ipv4/tcp_sack");
  Configure(*layer, Settings({Value("tcp_retries1", "now")}));
  for (const auto& [name, value] : KernelValues()) {
    EXPECT_EQ(layer->Find(name).GetValue(), value) << name;
  }
  ExpectFiles(KernelValues());
}

TEST_F(LayerTest, ServesARequestAfterAFailureOnTopOfTheRestoredValues) {
  const auto layer = NewLayer();
  tree.MakeFolder("ipv4/tcp_sack");
  EXPECT_FALSE(Configure(*layer, Settings({Value("tcp_frto", "lost")})));
  tree.Write("ipv4/tcp_sack", "back");
  EXPECT_TRUE(Configure(*layer, Settings({Value("tcp_ecn", "7")})));
  Values values = KernelValues();  // the fifteen defaults are gone with the rollback
  values["tcp_ecn"] = "7";
  ExpectFiles(values);
}

TEST_F(LayerTest, WritesThePreviousValuesBack) {
  const auto layer = NewLayer();
  layer->WriteConfig(nullptr);
  output.Take();
  layer->WritePrevious();
  EXPECT_EQ(output.Take(), kToPreviousLines + WriteLines(KernelValues()));
  ExpectFiles(KernelValues());
}

TEST_F(LayerTest, WritesTheDefaultBackWhereTheSnapshotCouldNotReadTheFile) {
  tree.MakeMissing("ipv4/tcp_retries2");
  const auto layer = NewLayer();
  tree.Write("ipv4/tcp_retries2", "8\n");
  layer->WritePrevious();
  EXPECT_EQ(tree.Read("ipv4/tcp_retries2"), "15");
}

// --- SendFileError by itself ---

TEST_F(LayerTest, SendFileErrorTellsRollsBackRepliesAndClosesTheStream) {
  const auto layer = NewLayer();
  std::ofstream stream(TunableTree::Path("ipv4/tcp_sack"));
  stream.setstate(std::ios::badbit);
  errno = EXDEV;
  EXPECT_FALSE(layer->SendFileError(stream, "/a/path", &request));
  EXPECT_EQ(output.Take(), "file write error: [/a/path]: Invalid cross-device link\n" +
                               kToPreviousLines + WriteLines(KernelValues()) +
                               "{error \"file error\" \"[/a/path]: Invalid cross-device link\"}\n");
  EXPECT_FALSE(stream.is_open());
  EXPECT_TRUE(stream.good());
}

TEST_F(LayerTest, SendFileErrorLeavesTheStreamOpenDuringTheRollback) {
  const auto layer = NewLayer();
  std::ofstream stream(TunableTree::Path("ipv4/tcp_sack"));
  int lines = 0;
  const CapturedStream lookout([&](const std::string&) {
    ++lines;
    EXPECT_TRUE(stream.is_open());
  });
  layer->SendFileError(stream, "/a/path", &request);
  EXPECT_GT(lines, 3);
  EXPECT_FALSE(stream.is_open());
}

TEST_F(LayerTest, SendFileErrorRepliesToNobodyWithoutARequest) {
  const auto layer = NewLayer();
  std::ofstream stream;
  errno = EXDEV;
  EXPECT_FALSE(layer->SendFileError(stream, "/a/path", nullptr));
  EXPECT_EQ(output.Take(), "file write error: [/a/path]: Invalid cross-device link\n" +
                               kToPreviousLines + WriteLines(KernelValues()));
}

}  // namespace
