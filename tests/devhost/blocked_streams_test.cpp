// kaehost with standard streams whose reader is slow, or does not read at all.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"
#include "tests/support/soon.h"

using testing::EndsWith;
using testing::HasSubstr;

namespace {

// A pipe that takes a page.
class SmallPipe {
 public:
  SmallPipe() {
    EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0);
    fcntl(ends_[1], F_SETPIPE_SZ, 1);
  }
  ~SmallPipe() {
    close(ends_[0]);
    close(ends_[1]);
  }
  SmallPipe(const SmallPipe&) = delete;
  SmallPipe& operator=(const SmallPipe&) = delete;

  int end() const { return ends_[1]; }

  void MakeNonBlocking() const { fcntl(ends_[1], F_SETFL, O_WRONLY | O_NONBLOCK); }

  void Fill() const {
    MakeNonBlocking();
    while (write(ends_[1], "x", 1) == 1) {
    }
    fcntl(ends_[1], F_SETFL, O_WRONLY);
  }

  bool IsFull() const {
    pollfd polled = {ends_[1], POLLOUT, 0};
    return poll(&polled, 1, 0) == 0;
  }

  // Returns the status and all that the process writes. Reads only after the pipe is full.
  std::string ReadSlowly(RunningKaehost& run, int* status) {
    EXPECT_TRUE(Soon([this] { return IsFull(); })) << "otherwise this tests nothing";
    usleep(250'000);  // a session looks for signals meanwhile
    close(ends_[1]);
    ends_[1] = -1;
    std::string text;
    char piece[100];
    for (ssize_t size = 0; (size = read(ends_[0], piece, sizeof piece)) > 0;) {
      text.append(piece, static_cast<std::size_t>(size));
    }
    *status = run.Finish().status;
    return text;
  }

 private:
  int ends_[2] = {-1, -1};
};

bool Sleeps(const std::string& process) {
  std::ifstream file("/proc/" + process + "/stat");
  std::string stat;
  std::getline(file, stat);
  return stat.find(") S ") != std::string::npos;
}

// Waits until both kaehost and the plug-in's process wait for something. Until then, one of them
// works.
bool ComesToRest(pid_t kaehost) {
  const std::string process = std::to_string(kaehost);
  int looks = 0;
  return Soon([&] {
    std::string plugin;
    std::ifstream("/proc/" + process + "/task/" + process + "/children") >> plugin;
    looks = !plugin.empty() && Sleeps(plugin) && Sleeps(process) ? looks + 1 : 0;
    return looks == 10;
  });
}

class BlockedStreams : public testing::Test {
 protected:
  const TempFolder folder_;
  SmallPipe pipe_;
  int status_ = -1;
};

}  // namespace

TEST_F(BlockedStreams, AreWaitedForAlsoIfTheyAreNonBlocking) {
  const std::vector<std::string> help = {"apply", "--help"};
  pipe_.MakeNonBlocking();
  RunningKaehost run(help, [this] { dup2(pipe_.end(), STDOUT_FILENO); });
  EXPECT_EQ(pipe_.ReadSlowly(run, &status_), Kaehost(help).out);
  EXPECT_EQ(status_, 0);
}

TEST_F(BlockedStreams, AreWaitedForAlsoIfErrorsGoThere) {
  std::string lines;
  for (int i = 0; i < 200; ++i) {
    lines += "unknown = 1\n";
  }
  const std::vector<std::string> import = {"import", folder_.Write("settings.conf", lines)};
  pipe_.MakeNonBlocking();
  RunningKaehost run(import, [this] { dup2(pipe_.end(), STDERR_FILENO); });
  EXPECT_EQ(pipe_.ReadSlowly(run, &status_), Kaehost(import).err);
  EXPECT_EQ(status_, 1);
}

// The plug-in's process shares standard error with kaehost, and here also standard output.
TEST_F(BlockedStreams, AreWaitedForInASessionAlsoIfThePluginMakesThemNonBlocking) {
  const std::string settings = folder_.Write("settings.xml", "<tcp-settings/>");
  std::vector<std::string> apply = {"apply", "--verbose", "--plugin", TestPlugin("misbehaves")};
  apply.insert(apply.end(), 60, settings);
  for (const char* deed : {"InitPlugin make streams non-blocking", "InitPlugin do nothing"}) {
    setenv("MISBEHAVES", deed, 1);
    SmallPipe pipe;
    RunningKaehost run(apply, [&pipe] {
      dup2(pipe.end(), STDOUT_FILENO);
      dup2(pipe.end(), STDERR_FILENO);
    });
    const std::string text = pipe.ReadSlowly(run, &status_);
    EXPECT_THAT(text, HasSubstr("kaehost: request: " + settings)) << deed;
    EXPECT_THAT(text, EndsWith("all tunables restored\n")) << deed;
  }
}

TEST_F(BlockedStreams, OfErrorsDoNotKeepASignalFromEndingTheSession) {
  const std::string settings =
      folder_.Write("settings.xml", "<tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>");
  pipe_.Fill();
  RunningKaehost run({"apply", "--json", "--hold", "--kill-after", "1", settings},
                     [this] { dup2(pipe_.end(), STDERR_FILENO); });
  ASSERT_TRUE(ComesToRest(run.pid()));
  kill(run.pid(), SIGTERM);
  const Outcome outcome = run.Finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("\n  \"restored\": true,\n"));
}
