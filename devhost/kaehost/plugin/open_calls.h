#pragma once

#include <sys/types.h>

#include <array>
#include <functional>
#include <optional>
#include <string>

namespace devhost {

// A call of open, openat, openat2 or creat, by a thread that waits for its result.
struct OpenCall {
  pid_t thread;
  int number;                     // of the system call
  std::array<long, 4> arguments;  // the threads of a process share memory
  std::string path;
  bool writes;

  // Whether the thread that runs this would get the same: both have the same network namespace,
  // rights, folders and descriptors.
  bool CanRunHere() const;

  // Does it in the thread that runs this. Returns the descriptor, or the number of the error,
  // negative.
  int Run() const;
};

// Returns what the call shall return, or nothing if its thread shall do it.
using OpenFunction = std::function<std::optional<int>(const OpenCall&)>;

// From now on, if this thread makes such a call, or a thread that it starts, another thread of this
// process runs `open` first: so each call is seen, also those of libraries. `open` must not make
// such a call through this thread. Returns 0, or the number of the error if the kernel does not
// allow it. Call it once.
int TakeOverOpenCalls(const OpenFunction& open);

}  // namespace devhost
