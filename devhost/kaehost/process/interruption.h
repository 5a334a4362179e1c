#pragma once

#include <chrono>
#include <csignal>
#include <initializer_list>
#include <optional>
#include <stdexcept>

namespace devhost {

// A signal has come before the first request of a session.
class Interrupted : public std::runtime_error {
 public:
  explicit Interrupted(int signal);

  int signal() const { return signal_; }

 private:
  int signal_;
};

// During its lifetime, SIGINT, SIGTERM, SIGHUP and SIGQUIT stay pending until a function below
// takes them. So none of them ends the process before the tunables are restored. Signals that the
// process ignores stay ignored. Other signals still end it. For a process with one thread; one
// object at a time.
// A child that makes this process its tracer (PTRACE_TRACEME) stops at each signal. The functions
// that wait end the tracing then, so that the signal does what it does without a tracer. They also
// let threads end that have done so.
class Interruption {
 public:
  using Clock = std::chrono::steady_clock;

  // `patience` is how long after a signal to wait for what does not end by itself.
  // Throws std::system_error.
  explicit Interruption(std::chrono::seconds patience);
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  // Returns the first signal that has come, if any.
  std::optional<int> Came();

  // Throws Interrupted if a signal has come.
  void ThrowIfCame();

  // Returns whether a signal has come and `patience` has passed since then and since `begin`.
  bool IsOutOfPatience(Clock::time_point begin);

  // Waits until one of the descriptors is readable. Returns false if it ran out of patience first.
  bool AwaitReadable(std::initializer_list<int> descriptors);

  // Waits until a signal comes or the descriptor is readable.
  void AwaitSignalOr(int descriptor);

  // Waits until the process `child` ends. Returns its status as a shell shows it. Sends it the
  // signals that come, except those of a terminal: the terminal sends them to both. A signal lets
  // it go on if it is stopped.
  int AwaitEnd(pid_t child);

  std::chrono::seconds patience() const { return patience_; }

  // The signals that were blocked before. A program that is started must have the same mask.
  const sigset_t& mask_before() const { return mask_before_; }

 private:
  Clock::duration TimeLeft(Clock::time_point begin) const;
  int MillisecondsLeft(Clock::time_point begin) const;  // for poll

  void Note(int signal);

  const std::chrono::seconds patience_;
  sigset_t awaited_;  // with SIGCHLD
  sigset_t mask_before_;
  int descriptor_;  // readable while a signal is pending
  std::optional<int> came_;
  Clock::time_point came_at_;
};

}  // namespace devhost
