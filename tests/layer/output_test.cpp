// By which means the lines are printed, when they are flushed, and when errno is read.

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iostream>

#include "tests/layer/fixture.h"

namespace {

using recording_host::Element;
using recording_host::Settings;
using recording_host::Text;
using recording_host::Value;
using testing::HasSubstr;

// The lines of a text that show a name and a value, which are printf's.
std::string PrintedLines(const Values& values) {
  std::string lines = WriteLines(values);
  const std::string head = "\nwriting config...\n";
  return lines.substr(head.size(),
                      lines.size() - head.size() - std::string("config done\n").size());
}

// Checks that every newline was followed by a flush at once.
void ExpectEachNewlineFlushed(const CapturedStream& stream) {
  EXPECT_EQ(stream.pieces().back(), "");
  for (std::size_t i = 0; i + 1 < stream.pieces().size(); ++i) {
    EXPECT_EQ(stream.pieces()[i].find('\n'), stream.pieces()[i].size() - 1) << stream.pieces()[i];
  }
}

TEST_F(LayerTest, PrintsTheSnapshotsValuesByPrintfAndAllElseToTheStream) {
  tree.MakeMissing("ipv4/tcp_sack");
  const CapturedStream stream;
  const OpenLayer layer;
  EXPECT_EQ(stream.text(),
            "\nreading previous config...\n"
            "error opening stream for read -  file [/proc/sys/net/ipv4/tcp_sack]; error: No such "
            "file or directory\n"
            "reading config done\n\nsetting to previous values\n");
  ExpectEachNewlineFlushed(stream);
  std::string printed = PrintedLines(KernelValues());
  const std::string missing = "tcp_sack = " + KernelValues()["tcp_sack"] + "\n";
  printed.erase(printed.find(missing), missing.size());
  EXPECT_EQ(output.Take(), printed);
}

TEST_F(LayerTest, PrintsARequestsValuesByPrintfAndAllElseToTheStream) {
  const auto layer = NewLayer();
  tree.MakeMissing("ipv4/tcp_ecn");
  const CapturedStream stream;
  Configure(*layer,
            Settings({Text("\n"), Element("tcp_sack", {Element("b")}), Value("tcp_frto", "1004")}));
  EXPECT_EQ(stream.text(),
            "received TCP_Settings command\n"
            "Unknown element: #text\n"
            "Content not text. Element: tcp_sack\n"
            "Setting new value - tcp_frto = 1004\n"
            "\nwriting config...\n"
            "file [/proc/sys/net/ipv4/tcp_ecn]; does not exist. Skipped.\n"
            "config done\n");
  ExpectEachNewlineFlushed(stream);
  EXPECT_THAT(output.Take(), HasSubstr("\ntcp_frto = 1004\n"));
}

TEST_F(LayerTest, FlushesAnEmptyLineByItself) {
  const CapturedStream stream;
  const OpenLayer layer;
  EXPECT_EQ(stream.pieces(),
            (std::vector<std::string>{"\n", "reading previous config...\n", "reading config done\n",
                                      "\n", "setting to previous values\n", ""}));
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
              testing::StartsWith("file write error: [/a/path]: Invalid cross-device link\n"));
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

TEST_F(LayerTest, PrintsAValuesLineBeforeItsFileIsClosed) {
  const auto layer = NewLayer();
  Lookout lookout{&tree, "tcp_sack = "};
  {
    const Watched watched(lookout);
    layer->WriteConfig(nullptr);
  }
  EXPECT_EQ(lookout.seen, "");  // emptied by the open, not yet filled by the close
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), StartValues()["tcp_sack"]);
}

// A text that no buffer holds is in the file as soon as it is written.
TEST_F(LayerTest, PrintsAValuesLineAfterItsTextIsWritten) {
  const std::string text(1 << 20, '7');
  const auto layer = NewLayer();
  layer->Find("tcp_sack").SetValue(text.c_str());
  Lookout lookout{&tree, "tcp_sack = "};
  {
    const Watched watched(lookout);
    layer->WriteConfig(nullptr);
  }
  EXPECT_TRUE(lookout.seen == text) << lookout.seen.size();
}

}  // namespace
