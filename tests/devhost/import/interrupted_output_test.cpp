// kaehost import --output, ended by a signal at any moment: the file is the old one or the new one,
// and nothing else is left. KAETCP_TRIES is the number of signals in each
// of the two tests.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

const std::string kOld = "old";
const std::string kNew = "<tcp-settings>\n  <tcp_sack>0</tcp_sack>\n</tcp-settings>\n";
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGKILL, SIGUSR1, SIGKILL};

int Tries() {
  const char* tries = std::getenv("KAETCP_TRIES");
  return tries != nullptr ? std::stoi(tries) : 80;
}

// For `prepare`: a process group, and no core files.
void LeadAGroup() {
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
  setpgid(0, 0);
}

void LeadAGroupWithoutNamelessFiles() {
  LeadAGroup();
  ForbidFilesWithoutAName();
}

std::string Content(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Ends the process and its group; of its children, only a signal that they can block.
void End(pid_t process, int signal) {
  const std::string id = std::to_string(process);
  std::ifstream children("/proc/" + id + "/task/" + id + "/children");
  const std::vector<pid_t> found(std::istream_iterator<pid_t>(children), {});
  if (kill(-process, signal) != 0) {
    kill(process, signal);
  }
  for (const pid_t child : found) {
    kill(child, signal == SIGKILL ? 0 : signal);
  }
}

class InterruptedOutput : public testing::Test {
 protected:
  // Runs kaehost and sends it a signal after `delay`. Returns its status after all its processes
  // have ended: each holds the pipe open.
  int Run(int signal, std::chrono::nanoseconds delay, void (*prepare)()) const {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const auto start = Clock::now();
    RunningKaehost run({"import", "--quiet", "--output", document_, settings_}, [&] {
      fcntl(ends[1], F_SETFD, 0);
      prepare();
    });
    close(ends[1]);
    std::this_thread::sleep_until(start + delay);
    if (signal != 0) {
      End(run.pid(), signal);
    }
    char byte = 0;
    EXPECT_EQ(read(ends[0], &byte, 1), 0);
    close(ends[0]);
    return run.Finish().status;
  }

  void EndAtAnyMoment(void (*prepare)()) {
    Clock::duration times[5];
    for (Clock::duration& time : times) {
      const auto start = Clock::now();
      EXPECT_EQ(Run(0, {}, prepare), 0);
      time = Clock::now() - start;
    }
    std::sort(std::begin(times), std::end(times));
    Clock::duration longest = times[2];  // one can be much longer, on a busy machine
    int interrupted = 0;
    for (int i = 0; i < Tries(); ++i) {
      folder_.Write("document.xml", kOld);
      const int signal = kSignals[static_cast<std::size_t>(i) % std::size(kSignals)];
      const auto delay = std::uniform_int_distribution<long>(0, longest.count())(random_);
      const int status = Run(signal, std::chrono::nanoseconds(delay), prepare);
      const bool is_interrupted = status == 128 + signal;
      interrupted += is_interrupted ? 1 : 0;
      // The machine can be more or less busy than at first: about every second signal is in time.
      longest += is_interrupted ? longest / 8 : -longest / 8;
      const std::string content = Content(document_);
      EXPECT_TRUE(content == kNew || (content == kOld && status != 0)) << status << content;
      ASSERT_EQ(std::distance(fs::directory_iterator(folder_.Path("")), fs::directory_iterator()),
                2)
          << "only the settings and the document, after signal " << signal;
    }
    EXPECT_GT(interrupted, Tries() / 4) << "otherwise this tests too little";
  }

  const TempFolder folder_;
  const std::string settings_ = folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\n");
  const std::string document_ = folder_.Path("document.xml");
  std::mt19937_64 random_{std::random_device()()};
};

}  // namespace

TEST_F(InterruptedOutput, IsTheOldFileOrTheNewOne) { EndAtAnyMoment(LeadAGroup); }

TEST_F(InterruptedOutput, IsTheOldFileOrTheNewOneWithoutNamelessFiles) {
  EndAtAnyMoment(LeadAGroupWithoutNamelessFiles);
}
