// A file that cannot be opened while a request is served, and the rollback.

#include <cerrno>
#include <fstream>

#include "tests/layer/fixture.h"

namespace {

using recording_host::Settings;
using recording_host::Value;

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

TEST_F(LayerTest, RepliesOnceWithTheFirstErrorThoughTheRollbackMeetsOthers) {
  const auto layer = NewLayer();
  Values errors;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    tree.MakeLoop(setting.file);
    if (*setting.container == '\0') {
      errors[setting.name] =
          kNotOpened + setting.file + "]; error: Too many levels of symbolic links\n";
    }
  }
  tree.MakeFolder("core/rmem_max");
  errors["rmem_max"] = kNotOpened + "core/rmem_max]; error: Is a directory\n";
  EXPECT_FALSE(layer->WriteConfig(&request));
  EXPECT_EQ(request.replies.size(), 1U);
  EXPECT_EQ(output.Take(), "\nwriting config...\n" + FailedLine("core/rmem_max", "Is a directory") +
                               kToPreviousLines + WriteLines(KernelValues(), errors) +
                               ErrorReply("core/rmem_max", "Is a directory"));
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
