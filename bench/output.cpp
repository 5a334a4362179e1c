#include "bench/output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <stdexcept>

namespace bench {
namespace {

// Returns a descriptor to write to. For a pipe, stores the read end in `reading`.
int Open(Output::Target target, int& reading) {
  if (target == Output::kPipe) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
      return -1;
    }
    reading = ends[0];
    return ends[1];
  }
  return target == Output::kNull ? open("/dev/null", O_WRONLY | O_CLOEXEC)
                                 : open(std::filesystem::temp_directory_path().c_str(),
                                        O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
}

}  // namespace

Output::Output(Target target) : target_(target) {
  std::fflush(stdout);
  saved_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
  const int to = Open(target, reading_);
  if (saved_ < 0 || to < 0 || dup2(to, STDOUT_FILENO) < 0) {
    throw std::runtime_error("standard output cannot be led elsewhere");
  }
  close(to);
}

Output::~Output() {
  std::fflush(stdout);
  dup2(saved_, STDOUT_FILENO);
  close(saved_);
  close(reading_);
}

void Output::Empty() const {
  char some[65536];
  if (target_ == kPipe) {
    while (read(reading_, some, sizeof some) > 0) {
    }
  } else if (target_ == kFile &&
             (ftruncate(STDOUT_FILENO, 0) != 0 || lseek(STDOUT_FILENO, 0, SEEK_SET) != 0)) {
    throw std::runtime_error("the file behind standard output cannot be cut off");
  }
}

}  // namespace bench
