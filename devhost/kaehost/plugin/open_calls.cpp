#include "devhost/kaehost/plugin/open_calls.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/kcmp.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <system_error>
#include <thread>

#include "devhost/kaehost/text/output.h"

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
// not. It allows that to ordinary users only if they give up set-user-ID programs. Before 5.19, it
// lets a signal repeat a call.
int Listen() {
  constexpr auto kBack = [](int count) { return static_cast<unsigned char>(count); };
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(SYS_openat), kBack(4), 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(SYS_openat2), kBack(3), 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(kOpen), kBack(2), 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(kCreat), kBack(1), 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF),
  };
  const sock_fprog program = {sizeof filter / sizeof *filter, filter};
  unsigned long killable = SECCOMP_FILTER_FLAG_WAIT_KILLABLE_RECV;
  for (;;) {
    const long listener = syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER,
                                  SECCOMP_FILTER_FLAG_NEW_LISTENER | killable, &program);
    if (listener < 0 && errno == EINVAL && killable != 0) {
      killable = 0;
    } else if (listener < 0 && errno == EACCES && prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 0) {
      prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    } else {
      return static_cast<int>(listener);
    }
  }
}

// Copies `size` bytes of this process, fewer if it does not have them.
std::string Memory(std::uint64_t address, std::size_t size) {
  constexpr std::size_t kPage = 4096;  // the smallest
  std::string copy(size, '\0');
  const std::size_t first = std::min(size, kPage - static_cast<std::size_t>(address % kPage));
  const auto piece = [](std::uint64_t begin, std::size_t length) {
    auto* pointer = reinterpret_cast<void*>(  // NOLINT(performance-no-int-to-ptr)
        static_cast<std::uintptr_t>(begin));
    return iovec{pointer, length};
  };
  const iovec target = {copy.data(), size};
  const iovec pages[] = {piece(address, first), piece(address + first, size - first)};
  copy.resize(static_cast<std::size_t>(
      std::max(process_vm_readv(getpid(), &target, 1, pages, 2, 0), ssize_t{0})));
  return copy;
}

std::uint64_t FlagsOf(const seccomp_data& data) {
  if (data.nr == SYS_openat2) {
    std::uint64_t flags = 0;  // at the begin of its structure
    const std::string how = Memory(data.args[2], sizeof flags);
    std::memcpy(&flags, how.data(), how.size());
    return flags;
  }
  return data.nr == kCreat ? O_WRONLY : data.args[data.nr == kOpen ? 1 : 2];
}

OpenCall CallFrom(const seccomp_notif& received) {
  const seccomp_data& data = received.data;
  const bool has_folder = data.nr == SYS_openat || data.nr == SYS_openat2;
  OpenCall call = {static_cast<pid_t>(received.pid), data.nr, {}, "", false};
  std::transform(data.args, data.args + call.arguments.size(), call.arguments.begin(),
                 [](std::uint64_t argument) { return static_cast<long>(argument); });
  call.path = Memory(data.args[has_folder ? 1 : 0], PATH_MAX);
  call.path.resize(std::min(call.path.size(), call.path.find('\0')));
  call.writes = (FlagsOf(data) & O_ACCMODE) != O_RDONLY;
  return call;
}

// Returns which network namespace a thread has, and which rights; empty if nobody can know.
std::string SurroundingsOf(pid_t thread) {
  const std::string folder = "/proc/self/task/" + std::to_string(thread);
  std::error_code unreadable;
  std::string text = std::filesystem::read_symlink(folder + "/ns/net", unreadable);
  std::ifstream status(folder + "/status");
  for (std::string line; !text.empty() && std::getline(status, line);) {
    for (const char* field : {"Uid:", "Gid:", "Groups:", "CapEff:"}) {
      text += line.starts_with(field) ? line : "";
    }
  }
  return text;
}

// A kernel that cannot compare says nothing.
bool Shares(kcmp_type what, pid_t thread) {
  return syscall(SYS_kcmp, gettid(), thread, what, 0, 0) <= 0;
}

bool IsThreadOfThisProcess(unsigned thread) {
  return syscall(SYS_tgkill, getpid(), thread, 0) == 0;
}

// Ends if no thread has the filter any more. If the listener is lost, the kernel refuses all calls:
// then this process is of no use.
void Serve(int listener, const OpenFunction& open) {
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
    pollfd polled = {listener, POLLIN, 0};
    poll(&polled, 1, -1);
    if ((polled.revents & POLLHUP) != 0) {
      return;
    }
    if (ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &received) != 0) {
      if (errno == EINTR || errno == ENOENT) {
        continue;
      }
      TellError(std::string("cannot watch the files that the plug-in opens any more: ") +
                std::strerror(errno) + "; leave out --trace and --fail");
      _exit(EXIT_FAILURE);
    }
    std::optional<int> result;
    if (IsThreadOfThisProcess(received.call.pid)) {  // and not of a copy of it
      result = open(CallFrom(received.call));
    }
    sent.response.id = received.call.id;
    sent.response.flags = result ? 0 : SECCOMP_USER_NOTIF_FLAG_CONTINUE;
    sent.response.val = std::max(result.value_or(0), 0);
    sent.response.error = std::min(result.value_or(0), 0);
    if (ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &sent) != 0 && result.value_or(-1) >= 0) {
      close(*result);  // the thread does not wait any more
    }
  }
}

}  // namespace

bool OpenCall::CanRunHere() const {
  const std::string surroundings = SurroundingsOf(thread);
  return !surroundings.empty() && surroundings == SurroundingsOf(gettid()) &&
         Shares(KCMP_FS, thread) && Shares(KCMP_FILES, thread);
}

int OpenCall::Run() const {
  const long result = syscall(number, arguments[0], arguments[1], arguments[2], arguments[3]);
  return result < 0 ? -errno : static_cast<int>(result);
}

// The thread begins before the filter, so that its own calls are not passed to itself. Signals are
// for the others.
int TakeOverOpenCalls(const OpenFunction& open) {
  sigset_t all;
  sigset_t former;
  sigfillset(&all);
  auto listener = std::make_shared<std::promise<int>>();
  int error = 0;
  pthread_sigmask(SIG_SETMASK, &all, &former);
  try {
    std::thread([open, found = listener->get_future().share()] {
      if (found.get() >= 0) {
        Serve(found.get(), open);
      }
    }).detach();
  } catch (const std::system_error& none) {
    error = none.code().value();
  }
  pthread_sigmask(SIG_SETMASK, &former, nullptr);
  if (error != 0) {
    return error;
  }
  const int result = Listen();
  error = result < 0 ? errno : 0;
  listener->set_value(result);
  return error;
}

}  // namespace devhost
