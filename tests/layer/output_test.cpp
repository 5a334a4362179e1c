// By which means the lines are printed, when they are flushed, and when errno is read.

#include <cerrno>
#include <cstdio>
#include <fstream>

#include "tests/layer/fixture.h"

namespace {

using recording_host::Element;
using recording_host::Settings;
using recording_host::Text;
using recording_host::Value;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

TEST_F(LayerTest, PrintsTheSnapshotsValuesByPrintfAndFlushesEachOtherLine) {
  tree.MakeMissing("core/rmem_max");
  const CapturedStream stream;
  const OpenLayer layer;
  EXPECT_THAT(stream.pieces(),
              ElementsAre("\n", "reading previous config...\n",
                          "error opening stream for read -  file [/proc/sys/net/core/rmem_max]; "
                          "error: No such file or directory\n",
                          "reading config done\n", "\n", "setting to previous values\n", ""));
  const std::string printed = output.Take();
  EXPECT_THAT(printed, StartsWith("wmem_max = 1001\ntcp_abort_on_overflow = 1002\n"));
  EXPECT_THAT(printed, EndsWith("\ntcp_port_min = 1055\ntcp_port_max = 1056\n"));
}

TEST_F(LayerTest, PrintsARequestsValuesByPrintfAndFlushesEachOtherLine) {
  const auto layer = NewLayer();
  tree.MakeMissing("core/rmem_max");
  const CapturedStream stream;
  Configure(*layer,
            Settings({Text("\n"), Element("tcp_sack", {Element("b")}), Value("wmem_max", "7")}));
  EXPECT_THAT(stream.pieces(),
              ElementsAre("received TCP_Settings command\n", "Unknown element: #text\n",
                          "Content not text. Element: tcp_sack\n",
                          "Setting new value - wmem_max = 7\n", "\n", "writing config...\n",
                          "file [/proc/sys/net/core/rmem_max]; does not exist. Skipped.\n",
                          "config done\n", ""));
  const std::string printed = output.Take();
  EXPECT_THAT(printed, StartsWith("wmem_max = 7\ntcp_abort_on_overflow = 1002\n"));
  EXPECT_THAT(printed, EndsWith("\ntcp_port_min = 1055\ntcp_port_max = 1056\n{success}\n"));
}

// --- errno ---

// Sets errno as soon as a line has come to "error: ", as a stream may that prints to a device.
void ChangeErrnoBehindTheColon(const std::string& line) {
  if (line.ends_with("]; error: ")) {
    errno = ENOTTY;
  }
}

TEST_F(LayerTest, ReadsErrnoForASnapshotsLineWhenTheLineHasComeToIt) {
  tree.MakeMissing("ipv4/tcp_sack");
  const CapturedStream stream(ChangeErrnoBehindTheColon);
  const OpenLayer layer;
  EXPECT_THAT(stream.text(), HasSubstr("; error: Inappropriate ioctl for device\n"));
}

TEST_F(LayerTest, ReadsErrnoForAWritersLineBeforeAnythingIsPrinted) {
  const auto layer = NewLayer();
  tree.MakeFolder("ipv4/tcp_sack");
  const CapturedStream stream(ChangeErrnoBehindTheColon);
  layer->WriteConfig(nullptr);
  EXPECT_THAT(stream.text(), HasSubstr("/tcp_sack]; error: Is a directory\n"));
}

TEST_F(LayerTest, ReadsErrnoForAFileErrorBeforeAnythingIsPrinted) {
  const auto layer = NewLayer();
  const CapturedStream stream([](const std::string&) { errno = ENOTTY; });
  std::ofstream file;
  errno = EXDEV;
  layer->SendFileError(file, "/a/path", &request);
  EXPECT_THAT(stream.text(),
              StartsWith("file write error: [/a/path]: Invalid cross-device link\n"));
  ASSERT_EQ(request.replies.size(), 1U);
  EXPECT_EQ(request.replies[0].detail, "[/a/path]: Invalid cross-device link");
}

// --- The moment of a value's line ---

// What lies in a file at the moment when a line comes.
struct Lookout {
  const TunableTree* tree;
  std::string line;
  std::string seen = "the line did not come";
};

ssize_t Look(void* cookie, const char* text, size_t size) {
  auto& lookout = *static_cast<Lookout*>(cookie);
  if (std::string(text, size).find(lookout.line) != std::string::npos) {
    lookout.seen = lookout.tree->Read("ipv4/tcp_sack");
  }
  return static_cast<ssize_t>(size);
}

// Lets `lookout` see what comes by printf, for as long as it lives.
class Watched {
 public:
  explicit Watched(Lookout& lookout) : saved_(stdout) {
    stdout = fopencookie(&lookout, "w",
                         {.read = nullptr, .write = Look, .seek = nullptr, .close = nullptr});
    setvbuf(stdout, nullptr, _IONBF, 0);
  }
  ~Watched() {
    fclose(stdout);
    stdout = saved_;
  }
  Watched(const Watched&) = delete;
  Watched& operator=(const Watched&) = delete;

 private:
  FILE* saved_;
};

// A text that no buffer holds is in the file as soon as it is written, a short one with the close.
TEST_F(LayerTest, PrintsAValuesLineAfterItsTextIsWrittenAndBeforeItsFileIsClosed) {
  const std::string long_text(1 << 20, '7');
  const auto layer = NewLayer();
  for (const std::string& text : {long_text, std::string("5")}) {
    layer->Find("tcp_sack").SetValue(text.c_str());
    Lookout lookout{&tree, "tcp_sack = "};
    {
      const Watched watched(lookout);
      layer->WriteConfig(nullptr);
    }
    EXPECT_TRUE(lookout.seen == (text == long_text ? text : "")) << lookout.seen.size();
    EXPECT_TRUE(tree.Read("ipv4/tcp_sack") == text);
  }
}

}  // namespace
