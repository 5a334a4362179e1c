#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "devhost/kaehost/process/interruption.h"
#include "devhost/kaehost/text/json.h"

namespace devhost {

// A process that works for this one, for work that may do anything to its process: crash, end it,
// block, or change its standard streams, signals and descriptors. This one only sends orders and
// reads answers. The worker knows when this one dies: then it has no more orders.
class Worker {
 public:
  // The worker's side, in its process. Copies of the process, which the work can make by fork, end
  // instead of taking orders or answering.
  class Orders {
   public:
    // Waits for the next order. Returns none if there are no more.
    std::optional<int> Next() const;

    // Returns whether there are no more after those that were sent.
    bool HaveEnded() const;

    // Answers. What the work has printed until then is visible to the other side.
    void Answer(const Json& answer) const;

   private:
    friend class Worker;
    explicit Orders(int socket) : socket_(socket) {}

    void AwaitReady(short event) const;

    const int socket_;
    const pid_t process_ = getpid();
  };

  // Starts a process that does `work` and ends. Its standard output is kept here. Throws
  // std::system_error.
  Worker(const std::function<void(const Orders&)>& work, Interruption& interruption);

  // Lets the worker end; kills it if it does not end in time after a signal.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // Sends an order.
  void Order(int order) const;

  // There are no more orders.
  void EndOrders() const;

  // Waits for the next answer. Returns none if the worker ended without it or sent something else.
  std::optional<Json> Answer();

  // Kills the worker, if its end was not awaited yet.
  void Kill() const;

  // Waits for the end of the worker, without its other answers. Returns whether its work was done.
  bool HasEndedWell();

  // Waits for it too. Returns how the worker ended: "was killed by signal 11 (Segmentation fault)".
  std::string AboutEnd();

  // Readable when the worker has ended.
  int end() const { return end_; }

  // Returns whether it has ended.
  bool HasEnded() const;

  // Returns what it has printed and was not yet taken, 64 MiB at most.
  std::string TakeOutput();

  // Returns all that it has printed, 64 MiB at most.
  std::string Output() const { return Output(0, OutputSize()); }

 private:
  [[noreturn]] void Work(const std::function<void(const Orders&)>& work, int socket) const noexcept;
  std::size_t OutputSize() const;
  std::string Output(std::size_t begin, std::size_t end) const;
  std::string Receive(std::size_t size);

  Interruption& interruption_;
  int output_ = -1;  // a file without a name
  std::size_t taken_ = 0;
  int socket_ = -1;
  pid_t process_ = -1;
  int end_ = -1;
  std::optional<int> status_;  // of waitpid; if it is given up, as a shell shows it
  bool is_given_up_ = false;
};

}  // namespace devhost
