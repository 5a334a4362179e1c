// The process that works for another one, and the signals that wait for the end of a session.

#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>
#include <thread>

#include "devhost/kaehost/process/interruption.h"
#include "devhost/kaehost/process/worker.h"

using devhost::Worker;

namespace {

constexpr std::chrono::seconds kPatience(5);

}  // namespace

TEST(WaitingSignals, DoNotEndTheProcessAfterwards) {
  sigset_t before;
  sigprocmask(SIG_BLOCK, nullptr, &before);
  {
    const devhost::Interruption interruption(kPatience);
    std::raise(SIGTERM);
  }
  sigset_t after;
  sigprocmask(SIG_BLOCK, nullptr, &after);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD}) {
    EXPECT_EQ(sigismember(&after, signal), sigismember(&before, signal)) << signal;
  }
}

TEST(EndedWorker, DoesNotEndTheOtherProcessByAnOrder) {
  devhost::Interruption interruption(kPatience);
  Worker worker([](const Worker::Orders& /*orders*/) {}, interruption);
  ASSERT_TRUE(interruption.AwaitReadable({worker.end()}));
  worker.Order(1);
  EXPECT_EQ(worker.Answer(), std::nullopt);
  EXPECT_TRUE(worker.HasEndedWell());
}

// More answers than a socket holds.
TEST(EndedWorker, DoesNotWaitUntilItsAnswersAreRead) {
  devhost::Interruption interruption(kPatience);
  Worker worker(
      [](const Worker::Orders& orders) {
        for (int i = 0; i < 10'000; ++i) {
          orders.Answer(i);
        }
      },
      interruption);
  EXPECT_EQ(worker.Answer(), 0);
  std::raise(SIGTERM);  // otherwise this process waits for ever too
  EXPECT_TRUE(worker.HasEndedWell()) << worker.AboutEnd();
}

TEST(AwaitedProcess, EndsByItselfAlsoIfItMakesThisOneItsTracer) {
  devhost::Interruption interruption(kPatience);
  const auto status_after = [&](int signal) {
    const pid_t child = fork();
    if (child == 0) {
      ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
      std::raise(signal);
      _exit(5);
    }
    siginfo_t stopped = {};
    waitid(P_PID, static_cast<id_t>(child), &stopped, WSTOPPED | WEXITED | WNOWAIT);
    return interruption.AwaitEnd(child);
  };
  EXPECT_EQ(status_after(SIGCHLD), 5);
  EXPECT_EQ(status_after(SIGUSR1), 128 + SIGUSR1);
}

TEST(AwaitedProcess, EndsByItselfAlsoIfItsThreadsMakeThisOneTheirTracer) {
  devhost::Interruption interruption(kPatience);
  const auto trace = [] { ptrace(PTRACE_TRACEME, 0, nullptr, nullptr); };
  const pid_t child = fork();
  if (child == 0) {
    std::thread(trace).join();
    std::thread(trace).join();
    trace();
    usleep(50'000);  // it is awaited before it ends
    _exit(5);
  }
  EXPECT_EQ(interruption.AwaitEnd(child), 5);
}
