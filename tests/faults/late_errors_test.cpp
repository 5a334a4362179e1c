// Errors behind a good open: nothing is told, nothing rolled back, everything else is written.

#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <set>

#include "tests/faults/failing_calls.h"
#include "tests/layer/request_fixture.h"

namespace {

using recording_host::Settings;
using recording_host::Value;

const Values kChanges = {{"tcp_sack", "0"}, {"tcp_mem_high", "123456"}};

const std::string kRequestLines = kReceivedLine + SettingLine("tcp_mem_high", "123456") +
                                  SettingLine("tcp_sack", "0") + WriteLines(With(kChanges)) +
                                  kSuccess;
const std::string kReleaseLines = kToPreviousLines + WriteLines(KernelValues());

// The 50 files.
std::set<std::string> Files() {
  std::set<std::string> files;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    files.insert(setting.file);
  }
  return files;
}

class LateErrorTest : public LayerTest {
 protected:
  bool Request(kaTCPLayer& layer) {
    return Configure(layer, Settings({Value("tcp_mem_high", "123456"), Value("tcp_sack", "0")}));
  }

  // Checks that each file holds so much of the text for these values.
  void ExpectCutFiles(const Values& values, std::size_t length) const {
    for (const std::string& file : Files()) {
      EXPECT_EQ(tree.Read(file), FileText(file, values).substr(0, length)) << file;
    }
  }
};

class FullDeviceTest : public LateErrorTest {
 protected:
  // Once the layer has read the file: the one device holds nothing, the other has no end.
  void Fill(const std::string& file, bool by_device) {
    tree.MakeFull(file);
    if (by_device) {
      std::filesystem::remove(TunableTree::Path(file));
      std::filesystem::create_symlink("/dev/full", TunableTree::Path(file));
    }
  }

  void ServeAndRelease(const std::set<std::string>& full, bool by_device);
};

void FullDeviceTest::ServeAndRelease(const std::set<std::string>& full, bool by_device) {
  GivenKernelValues();
  auto* layer = NewLayer().release();
  for (const std::string& file : full) {
    Fill(file, by_device);
  }
  EXPECT_TRUE(Request(*layer));
  EXPECT_EQ(output.Take(), kRequestLines);
  ExpectFiles(With(kChanges));
  for (const std::string& file : full) {
    EXPECT_TRUE(by_device || tree.Read(file).empty()) << file;
  }
  layer->do_Release();
  EXPECT_EQ(output.Take(), kReleaseLines);
  ExpectFiles(KernelValues());
}

TEST_F(FullDeviceTest, GoesUnnoticedWhicheverFileItHolds) {
  ASSERT_EQ(Files().size(), 50U);
  for (const std::string& file : Files()) {
    SCOPED_TRACE(file);
    ServeAndRelease({file}, false);
    ServeAndRelease({file}, true);
  }
}

TEST_F(FullDeviceTest, GoesUnnoticedThoughItHoldsEveryFile) {
  ServeAndRelease(Files(), false);
  ServeAndRelease(Files(), true);
}

// Standard output as a pipe, which no limit on files concerns.
class PipedOutput {
 public:
  PipedOutput() : saved_(dup(STDOUT_FILENO)) {
    std::array<int, 2> ends = {};
    if (pipe(ends.data()) == 0) {
      dup2(ends[1], STDOUT_FILENO);
      close(ends[1]);
      end_ = ends[0];
    }
  }
  ~PipedOutput() { close(end_); }
  PipedOutput(const PipedOutput&) = delete;
  PipedOutput& operator=(const PipedOutput&) = delete;

  // Gives standard output back and answers what has come. Once.
  std::string Take() {
    std::fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
    std::string text;
    std::array<char, 4096> part = {};
    for (ssize_t size; (size = read(end_, part.data(), part.size())) > 0;) {
      text.append(part.data(), static_cast<std::size_t>(size));
    }
    return text;
  }

 private:
  int saved_;
  int end_ = -1;
};

// Lets no file grow beyond so many bytes for as long as it lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &saved_);
    const rlimit limit = {bytes, saved_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &saved_);
    std::signal(SIGXFSZ, handler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  void (*handler_)(int);
  rlimit saved_ = {};
};

TEST_F(LateErrorTest, OfAWriteThatIsCutShortGoesUnnoticed) {
  for (const std::size_t length : {0U, 1U, 3U, 9U}) {
    SCOPED_TRACE(length);
    GivenKernelValues();
    auto* layer = NewLayer().release();
    PipedOutput piped;
    bool result = false;
    {
      const FileSizeLimit limit(length);
      result = Request(*layer);
    }
    ExpectCutFiles(With(kChanges), length);
    {
      const FileSizeLimit limit(length);
      layer->do_Release();
    }
    EXPECT_TRUE(result);
    EXPECT_EQ(piped.Take(), kRequestLines + kReleaseLines);
    ExpectCutFiles(KernelValues(), length);
  }
}

TEST_F(LateErrorTest, OfEveryWriteGoesUnnoticed) {
  const auto layer = NewLayer();
  EXPECT_EQ(RunWithFailing(FailingCall::kWrite, [&] { return Request(*layer); }), 1);
  EXPECT_EQ(output.Take(), kRequestLines);
  ExpectCutFiles(KernelValues(), 0);
}

TEST_F(LateErrorTest, OfEveryCloseGoesUnnoticed) {
  const auto layer = NewLayer();
  EXPECT_EQ(RunWithFailing(FailingCall::kClose, [&] { return Request(*layer); }), 1);
  EXPECT_EQ(output.Take(), kRequestLines);
  ExpectFiles(With(kChanges));
}

TEST_F(LateErrorTest, GoesUnnoticedWhenALayerIsReleased) {
  for (const FailingCall call : {FailingCall::kWrite, FailingCall::kClose}) {
    GivenKernelValues();
    auto layer = NewLayer();
    Request(*layer);
    output.Take();
    EXPECT_EQ(RunWithFailing(call, [&] { return layer.release()->do_Release(), 0; }), 0);
    EXPECT_EQ(output.Take(), kReleaseLines);
    if (call == FailingCall::kWrite) {
      ExpectCutFiles(KernelValues(), 0);
    } else {
      ExpectFiles(KernelValues());
    }
  }
}

// The open's own error is told and answered as ever.
TEST_F(LateErrorTest, GoesUnnoticedInARollback) {
  const std::string detail = "[/proc/sys/net/core/rmem_max]: Is a directory";
  const std::string not_opened =
      "error opening stream for write - file [/proc/sys/net/core/rmem_max]; error: Is a "
      "directory\n";
  for (const FailingCall call : {FailingCall::kWrite, FailingCall::kClose}) {
    const auto layer = NewLayer();
    tree.MakeFolder("core/rmem_max");
    EXPECT_EQ(RunWithFailing(call, [&] { return layer->WriteConfig(&request); }), 0);
    EXPECT_EQ(output.Take(), "\nwriting config...\nfile write error: " + detail + "\n" +
                                 kToPreviousLines +
                                 WriteLines(KernelValues(), {{"rmem_max", not_opened}}) +
                                 "{error \"file error\" \"" + detail + "\"}\n");
    GivenKernelValues();
  }
}

}  // namespace
