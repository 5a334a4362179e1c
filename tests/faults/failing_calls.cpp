#include "tests/faults/failing_calls.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <vector>

namespace {

constexpr int kNotFiltered = 99;

sock_filter Load(std::size_t offset) {
  return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<__u32>(offset));
}

// Leaves out so many instructions if the loaded word is this one.
sock_filter JumpIf(unsigned word, unsigned char over) {
  return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, word, over, 0);
}

sock_filter Return(unsigned action) { return BPF_STMT(BPF_RET | BPF_K, action); }

// The descriptor that a file gets that is opened now, and so each of several that are opened and
// closed in turn.
int NextDescriptor() {
  const int descriptor = dup(STDOUT_FILENO);
  close(descriptor);
  return descriptor;
}

// By the descriptor, since a sanitizer's run-time library has to write too, to pipes of its own.
std::vector<sock_filter> Program(FailingCall call, int descriptor) {
  const sock_filter load_number = Load(offsetof(seccomp_data, nr));
  const sock_filter load_descriptor = Load(offsetof(seccomp_data, args));  // its low word
  const sock_filter fail = Return(SECCOMP_RET_ERRNO | EIO);
  const sock_filter allow = Return(SECCOMP_RET_ALLOW);
  if (call == FailingCall::kClose) {
    return {load_number, JumpIf(__NR_close, 1), allow, fail};
  }
  const auto target = static_cast<unsigned>(descriptor);
  return {load_number,
          JumpIf(__NR_write, 2),
          JumpIf(__NR_writev, 1),
          allow,
          load_descriptor,
          JumpIf(target, 1),
          allow,
          fail};
}

bool Filter(FailingCall call, int descriptor) {
  std::vector<sock_filter> program = Program(call, descriptor);
  const sock_fprog filter = {static_cast<unsigned short>(program.size()), program.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

// On a descriptor that is not open, a call that goes through fails with EBADF.
bool Fails(FailingCall call, int descriptor) {
  const ssize_t result = call == FailingCall::kClose ? close(descriptor) : write(descriptor, "", 0);
  return result == -1 && errno == EIO;
}

}  // namespace

int RunWithFailing(FailingCall call, const std::function<int()>& act) {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    const int next = NextDescriptor();
    const int status = Filter(call, next) && Fails(call, next) ? act() : kNotFiltered;
    std::fflush(stdout);
    _exit(status);
  }
  int status = 0;
  const bool ended = waitpid(child, &status, 0) == child && WIFEXITED(status);
  return ended ? WEXITSTATUS(status) : -1;
}
