#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace devhost {

// A call of open, openat or creat.
struct OpenCall {
  int folder;
  const char* address;  // of the path
  std::string path;
  int flags;
  mode_t mode;

  // Does it. Returns the descriptor, or the number of the error, negative.
  int Run() const;
};

// From now on, if this thread makes such a call, another thread of this process runs `open`
// instead, and its result becomes the result of the call: so each call is seen, also those of
// libraries. `open` must not make such a call through this thread. Returns 0, or the number of the
// error if the kernel does not allow it. Call it once.
int TakeOverOpenCalls(const std::function<int(const OpenCall&)>& open);

}  // namespace devhost
