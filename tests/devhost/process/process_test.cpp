// The process that works for another one, and the signals that wait for the end of a session.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>

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
