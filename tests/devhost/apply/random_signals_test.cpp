// Sessions that get signals at random moments while the plug-in hangs or nobody reads the report,
// and sessions at the same time. They run in several network namespaces at once, whose tunables are
// "the machine's own".

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/journal_folder.h"
#include "devhost/kaehost/kernel/scratch_files.h"
#include "devhost/kaehost/kernel/tunables.h"
#include "tests/devhost/support/effort.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

namespace {

constexpr useconds_t kLongestSession = 60'000;  // microseconds, about

using Random = std::mt19937;

// Returns what is wrong, or nothing.
using Try = std::function<std::string(Random&)>;

void Wait(Random& random, useconds_t at_most) {
  usleep(static_cast<useconds_t>(random()) % at_most);
}

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

void SendSignals(Random& random, pid_t process) {
  for (auto left = random() % 3 + 1; left > 0; --left) {
    Wait(random, kLongestSession);
    kill(process, kSignals[random() % std::size(kSignals)]);
  }
}

std::string Differences(const devhost::Tunables& before) {
  std::string text;
  for (const devhost::Change& change : Compare(before, devhost::ReadTunables())) {
    text += change.tunable + ": " + change.before + " -> " + change.after + '\n';
  }
  const std::string journal = "/run/kaehost/" + devhost::JournalFolder::NameHere();
  return access(journal.c_str(), F_OK) == 0 ? text + journal + " is left\n" : text;
}

// A network namespace with so many tries, one after the other. Ends the process.
[[noreturn]] void RunInNamespace(int tries, const Try& attempt) {
  if (unshare(CLONE_NEWNET | CLONE_NEWNS) != 0) {
    std::cerr << "cannot create a network namespace\n";
    _exit(2);
  }
  for (const int signal : kSignals) {
    std::signal(signal,
                SIG_DFL);  // a shell ignores some in its background jobs, as kaehost then does
  }
  const PrivateRun run;
  devhost::MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
  const devhost::Tunables before = devhost::ReadTunables();
  Random random(std::random_device{}());
  for (int i = 0; i < tries; ++i) {
    const std::string wrong = attempt(random) + Differences(before);
    if (!wrong.empty()) {
      std::cerr << "try " << i << ": " << wrong << std::endl;
      _exit(1);
    }
  }
  _exit(0);
}

void ExpectAllWell(int namespaces, const Try& attempt) {
  const int tries = (kKills + namespaces - 1) / namespaces;
  std::vector<pid_t> processes;
  for (int i = 0; i < std::min(namespaces, kKills); ++i) {
    processes.push_back(fork());
    if (processes.back() == 0) {
      RunInNamespace(tries, attempt);
    }
  }
  for (const pid_t process : processes) {
    int status = -1;
    ASSERT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0);
  }
}

std::string Shown(const Outcome& run) {
  return "status " + std::to_string(run.status) + '\n' + run.out + run.err;
}

class RandomMoments : public testing::Test {
 protected:
  const TempFolder folder_;
  const std::string document_ =
      folder_.Write("document.xml",
                    "<tcp-settings><tcp_fin_timeout>20</tcp_fin_timeout><tcp_sack>0</tcp_sack>"
                    "<tcp_rmem_max>300000</tcp_rmem_max></tcp-settings>");
};

}  // namespace

// Most of the time of a try is waiting for --kill-after.
TEST_F(RandomMoments, OfSignalsWhileThePlugInHangs) {
  const std::string plugin = TestPlugin("misbehaves");
  ExpectAllWell(50, [&](Random& random) -> std::string {
    constexpr const char* kMoments[] = {"constructor",  "InitPlugin", "GetNewLayer",
                                        "do_Configure", "do_Release", "CleanupPlugin"};
    constexpr const char* kDeeds[] = {" hang", " sleep", " stop"};
    setenv("MISBEHAVES",
           (kMoments[random() % std::size(kMoments)] + std::string(kDeeds[random() % 3])).c_str(),
           1);
    RunningKaehost session({"apply", "--live", "--quiet", "--kill-after=1", "--plugin", plugin,
                            document_, "--", "true"});
    SendSignals(random, session.pid());
    const Outcome run = session.Finish();
    const bool is_told = run.status == 1 || run.status == 3 || run.status > 128;
    return is_told && run.status != 128 + SIGALRM ? "" : Shown(run);
  });
}

TEST_F(RandomMoments, OfSignalsWhileNobodyReads) {
  ExpectAllWell(50, [&](Random& random) -> std::string {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0 || fcntl(ends[1], F_SETPIPE_SZ, 1) < 0) {
      return "no pipe";
    }
    RunningKaehost session({"apply", "--live", "--verbose", "--kill-after=1", document_},
                           [&ends] { dup2(ends[1], STDOUT_FILENO); });
    SendSignals(random, session.pid());
    const Outcome run = session.Finish();
    close(ends[0]);
    close(ends[1]);
    const bool is_told = run.status == 1 || run.status > 128;
    return is_told && run.status != 128 + SIGALRM ? "" : Shown(run);
  });
}

// Each session has the tunables for itself, or is refused.
TEST_F(RandomMoments, OfSessionsAtTheSameTime) {
  ExpectAllWell(20, [&](Random& random) -> std::string {
    const std::vector<std::string> arguments = {"apply",   "--live", "--quiet",
                                                document_, "--",     "true"};
    RunningKaehost first(arguments);
    Wait(random, kLongestSession / 2);
    RunningKaehost second(arguments);
    int done = 0;
    std::string wrong;
    for (RunningKaehost* session : {&first, &second}) {
      const Outcome run = session->Finish();
      done += run.status == 0 ? 1 : 0;
      wrong += run.status == 0 || run.status == 77 ? "" : Shown(run);
    }
    return done > 0 ? wrong : "none was done\n" + wrong;
  });
}
