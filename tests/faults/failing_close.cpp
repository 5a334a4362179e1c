#include "tests/faults/failing_close.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <iterator>

namespace {

constexpr int kNotFiltered = 99;

bool FilterClose() {
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_close, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EIO),
  };
  const sock_fprog filter = {std::size(program), program};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

// A close that goes through fails with EBADF here.
bool CloseFails() { return close(-1) == -1 && errno == EIO; }

}  // namespace

int RunWithFailingClose(const std::function<int()>& act) {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    const int status = FilterClose() && CloseFails() ? act() : kNotFiltered;
    std::fflush(stdout);
    _exit(status);
  }
  int status = 0;
  const bool ended = waitpid(child, &status, 0) == child && WIFEXITED(status);
  return ended ? WEXITSTATUS(status) : -1;
}
