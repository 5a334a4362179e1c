#pragma once

#include <vector>

#include "tests/system_calls/trace.h"

namespace bench {

// Only the system calls of a pass that move its values and lines: the least that it can cost.
class SystemCallsAlone {
 public:
  // `calls` must outlive this object.
  explicit SystemCallsAlone(const std::vector<SystemCall>& calls);

  void Run() const;

 private:
  struct Step {
    enum { kOpen, kRead, kWrite, kClose } kind;
    int flags;         // kOpen
    bool to_stdout;    // kWrite
    const char* text;  // kOpen: the path
    unsigned long size;
  };
  std::vector<Step> steps_;
};

}  // namespace bench
