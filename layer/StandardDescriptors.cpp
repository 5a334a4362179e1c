#include "layer/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace {

// Answers the lowest free descriptor, opened on what takes no writing; -1 if there is none.
int Take() { return open("/", O_PATH | O_CLOEXEC); }

}  // namespace

StandardDescriptors::StandardDescriptors() {
  if (fcntl(STDOUT_FILENO, F_GETFD) != -1) {
    return;
  }
  int next = Take();
  for (; next >= 0 && next <= STDERR_FILENO; next = Take()) {
    taken_[next] = true;
  }
  if (next >= 0) {
    close(next);
  } else {
    GiveBack(taken_[STDIN_FILENO]    ? STDIN_FILENO
             : taken_[STDERR_FILENO] ? STDERR_FILENO
                                     : STDOUT_FILENO);
  }
  output_is_free_ = !taken_[STDOUT_FILENO];
}

void StandardDescriptors::Release() {
  const int error = errno;
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    GiveBack(descriptor);
  }
  errno = error;
}

void StandardDescriptors::GiveBack(int descriptor) {
  if (!taken_[descriptor]) {
    return;
  }
  taken_[descriptor] = false;
  const int flags = fcntl(descriptor, F_GETFL);
  if (flags != -1 && (flags & O_PATH) != 0) {
    close(descriptor);
  }
}
