#pragma once

#include <csignal>
#include <optional>

namespace devhost {

// While it lives, SIGINT, SIGTERM and SIGHUP wait until they are asked for, so that none of them
// ends the process before the tunables are put back. Those that the process ignores stay ignored;
// other signals still end it. For the only thread of a process, once at a time.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  // Answers the first signal that has come, if one has.
  std::optional<int> Came();

  // Waits until one comes, unless one has.
  void Await();

  // Waits until the process `child` has ended, and answers its status as a shell shows it. Signals
  // are handed on to it, except for what a terminal has sent to both already.
  int AwaitEnd(pid_t child);

  // The signals that a process had blocked before; a program that is started is to have them.
  const sigset_t& mask_before() const { return mask_before_; }

 private:
  sigset_t awaited_;
  sigset_t mask_before_;
  std::optional<int> came_;
};

}  // namespace devhost
