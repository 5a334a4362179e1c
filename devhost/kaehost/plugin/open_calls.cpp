#include "devhost/kaehost/plugin/open_calls.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <future>
#include <memory>
#include <thread>

namespace devhost {
namespace {

// Some processors have only openat.
#ifdef SYS_open
constexpr int kOpen = SYS_open;
constexpr int kCreat = SYS_creat;
#else
constexpr int kOpen = -1;
constexpr int kCreat = -1;
#endif

// Makes the kernel pass these calls of this thread to the returned descriptor. Negative if it does
// not.
int Listen() {
  constexpr auto kBack = [](int count) { return static_cast<unsigned char>(count); };
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(SYS_openat), kBack(3), 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(kOpen), kBack(2), 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(kCreat), kBack(1), 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF),
  };
  const sock_fprog program = {sizeof filter / sizeof *filter, filter};
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  return static_cast<int>(
      syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
}

// Threads share memory and descriptors, so the other thread can do a call of this one.
OpenCall CallFrom(const seccomp_data& data) {
  const auto at = [&data](int i) { return static_cast<std::uintptr_t>(data.args[i]); };
  const int path = data.nr == SYS_openat ? 1 : 0;
  OpenCall call = {
      path == 1 ? static_cast<int>(data.args[0]) : AT_FDCWD,
      reinterpret_cast<const char*>(at(path)), "",  // NOLINT(performance-no-int-to-ptr)
      data.nr == kCreat ? O_CREAT | O_WRONLY | O_TRUNC : static_cast<int>(data.args[path + 1]),
      static_cast<mode_t>(data.args[data.nr == kCreat ? 1 : path + 2])};
  if (faccessat(call.folder, call.address, F_OK, 0) == 0 || errno != EFAULT) {
    call.path = call.address;
  }
  return call;
}

bool IsThreadOfThisProcess(unsigned thread) {
  return syscall(SYS_tgkill, getpid(), thread, 0) == 0;
}

void Serve(int listener, const std::function<int(const OpenCall&)>& open) {
  // The kernel's structures can be longer than those that this program knows.
  union {
    seccomp_notif call;
    char room[1024];
  } received;
  union {
    seccomp_notif_resp response;
    char room[1024];
  } sent;
  for (;;) {
    std::memset(&received, 0, sizeof received);
    std::memset(&sent, 0, sizeof sent);
    if (ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &received) != 0) {
      if (errno == EINTR || errno == ENOENT) {
        continue;
      }
      return;
    }
    sent.response.id = received.call.id;
    if (IsThreadOfThisProcess(received.call.pid)) {
      const int result = open(CallFrom(received.call.data));
      sent.response.val = result < 0 ? 0 : result;
      sent.response.error = result < 0 ? result : 0;
    } else {
      sent.response.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;  // of a copy of this process
    }
    ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &sent);
  }
}

}  // namespace

int OpenCall::Run() const {
  const long result = syscall(SYS_openat, folder, address, flags, mode);
  return result < 0 ? -errno : static_cast<int>(result);
}

// The thread begins before the filter, so that its own calls are not passed to itself. Signals are
// for the others.
int TakeOverOpenCalls(const std::function<int(const OpenCall&)>& open) {
  sigset_t all;
  sigset_t former;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &former);
  auto listener = std::make_shared<std::promise<int>>();
  std::thread([open, found = listener->get_future().share()] {
    if (found.get() >= 0) {
      Serve(found.get(), open);
    }
  }).detach();
  pthread_sigmask(SIG_SETMASK, &former, nullptr);
  const int result = Listen();
  const int error = result < 0 ? errno : 0;
  listener->set_value(result);
  return error;
}

}  // namespace devhost
