#include "tests/faults/broken_output.h"

#include <fcntl.h>
#include <stdio_ext.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <system_error>

namespace {

// Above the descriptors that the tests otherwise use.
constexpr int kSavedFrom = 200;

// With a buffer of its own: having been unbuffered, it would otherwise keep the one byte of that
// time.
void SetBuffering(int buffering) {
  static std::array<char, BUFSIZ> buffer;
  std::setvbuf(stdout, buffer.data(), buffering, buffer.size());
}

// Lets standard output be `descriptor`, which is closed otherwise.
void BecomeOutput(int descriptor) {
  if (dup2(descriptor, STDOUT_FILENO) != STDOUT_FILENO) {
    throw std::system_error(errno, std::generic_category(), "breaking standard output");
  }
  close(descriptor);
}

int PipeWithoutReader() {
  std::signal(SIGPIPE, SIG_IGN);
  std::array<int, 2> ends = {};
  if (pipe(ends.data()) == 0) {
    close(ends[0]);
  }
  return ends[1];
}

void Break(const OutputFault& fault) {
  switch (fault.kind) {
    case OutputFault::kNone:
      break;
    case OutputFault::kClosed:
      for (const int descriptor : fault.closed) {
        close(descriptor);
      }
      break;
    case OutputFault::kFullDevice:
      BecomeOutput(open("/dev/full", O_WRONLY));
      break;
    case OutputFault::kBrokenPipe:
      BecomeOutput(PipeWithoutReader());
      break;
  }
}

}  // namespace

BrokenOutput::BrokenOutput(const OutputFault& fault) {
  std::fflush(stdout);
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    saved_.push_back(fcntl(descriptor, F_DUPFD_CLOEXEC, kSavedFrom));
  }
  SetBuffering(fault.buffering);
  Break(fault);
}

BrokenOutput::~BrokenOutput() {
  __fpurge(stdout);
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    const int saved = saved_[static_cast<std::size_t>(descriptor)];
    dup2(saved, descriptor);
    close(saved);
  }
  SetBuffering(_IOFBF);
  std::clearerr(stdout);
  std::cout.clear();
}
