#pragma once

#include <csignal>
#include <optional>

namespace devhost {

// During its lifetime, SIGINT, SIGTERM and SIGHUP stay pending until a function below takes them.
// So none of them ends the process before the tunables are restored. Signals that the process
// ignores stay ignored. Other signals still end it. For a process with one thread; one object at a
// time.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  // Returns the first signal that has come, if any.
  std::optional<int> Came();

  // Waits for the first signal. Returns immediately if it has come.
  void Await();

  // Waits until the process `child` ends. Returns its status as a shell shows it. Sends it the
  // signals that come, except those of a terminal: the terminal sends them to both.
  int AwaitEnd(pid_t child);

  // The signals that were blocked before. A program that is started must have the same mask.
  const sigset_t& mask_before() const { return mask_before_; }

 private:
  sigset_t awaited_;
  sigset_t mask_before_;
  std::optional<int> came_;
};

}  // namespace devhost
