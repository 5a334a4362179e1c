#include "tests/devhost/support/running_kaehost.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <system_error>

namespace {

constexpr unsigned kTimeLimit = 60;  // seconds
constexpr unsigned kNobody = 65534;

[[noreturn]] void Throw(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// Ends this process, whatever happens: it is a copy of the test's own.
[[noreturn]] void Become(std::vector<std::string> arguments, const OutputFile& out,
                         const OutputFile& err, const std::function<void()>& prepare) noexcept {
  alarm(kTimeLimit);
  std::signal(SIGINT, SIG_DFL);  // a shell ignores it in what it runs in the background
  dup2(out.fd(), STDOUT_FILENO);
  dup2(err.fd(), STDERR_FILENO);
  if (prepare) {
    prepare();
  }
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  execv(argv[0], argv.data());
  _exit(127);
}

void Write(const char* path, const std::string& text) {
  if (!(std::ofstream(path) << text).flush()) {
    Throw(path);
  }
}

// Moves the process into a new user namespace as the user `user` of it; false where there is none.
bool EnterUserNamespace(unsigned user) {
  const std::string uid = std::to_string(geteuid());
  const std::string gid = std::to_string(getegid());
  if (unshare(CLONE_NEWUSER) != 0) {
    return false;
  }
  Write("/proc/self/setgroups", "deny");
  Write("/proc/self/uid_map", std::to_string(user) + ' ' + uid + " 1");
  Write("/proc/self/gid_map", std::to_string(user) + ' ' + gid + " 1");
  return true;
}

// Limits may be set in a user namespace of one's own only; where there is none, an ordinary user
// gets no namespace anyway.
void ForbidNamespacesTo(unsigned user) {
  if (!EnterUserNamespace(user)) {
    BecomeOrdinaryUser();
    return;
  }
  Write("/proc/sys/user/max_user_namespaces", "0");
  Write("/proc/sys/user/max_net_namespaces", "0");
}

// Refuses a system call with this error where the comparison of the low half of the argument with
// the value holds: BPF_JEQ equal, BPF_JSET a bit in common.
void Refuse(unsigned call, std::size_t argument, unsigned comparison, unsigned value,
            unsigned error) {
  constexpr std::size_t kLowHalf = std::endian::native == std::endian::big ? 4 : 0;
  const auto place = offsetof(seccomp_data, args) + argument * sizeof(std::uint64_t) + kLowHalf;
  sock_filter steps[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<unsigned>(place)),
      BPF_JUMP(BPF_JMP | comparison | BPF_K, value, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program = {static_cast<unsigned short>(std::size(steps)), steps};
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
    _exit(126);
  }
}

}  // namespace

OutputFile::OutputFile() : fd_(memfd_create("output", MFD_CLOEXEC)) {}

OutputFile::~OutputFile() { close(fd_); }

std::string OutputFile::Text() const {
  std::string text(static_cast<std::size_t>(lseek(fd_, 0, SEEK_END)), '\0');
  if (pread(fd_, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
    Throw("reading back the output");
  }
  return text;
}

RunningKaehost::RunningKaehost(std::vector<std::string> arguments,
                               const std::function<void()>& prepare)
    : child_(fork()) {
  arguments.insert(arguments.begin(), KAEHOST);
  if (child_ == 0) {
    Become(std::move(arguments), out_, err_, prepare);
  }
}

bool RunningKaehost::HasSaid(const std::string& text) {
  const timespec millisecond = {0, 1'000'000};
  siginfo_t end = {};
  const auto has_said = [&] {
    return out_.Text().find(text) != std::string::npos ||
           err_.Text().find(text) != std::string::npos;
  };
  while (!has_said()) {
    if (waitid(P_PID, static_cast<id_t>(child_), &end, WEXITED | WNOHANG | WNOWAIT) != 0 ||
        end.si_pid == child_) {
      return has_said();
    }
    nanosleep(&millisecond, nullptr);
  }
  return true;
}

Outcome RunningKaehost::Finish() {
  int status = 0;
  rusage usage = {};
  if (child_ < 0 || wait4(child_, &status, 0, &usage) != child_) {
    Throw("running kaehost");
  }
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), out_.Text(),
          err_.Text(), usage.ru_maxrss};
}

Outcome Kaehost(std::vector<std::string> arguments, const std::function<void()>& prepare) {
  return RunningKaehost(std::move(arguments), prepare).Finish();
}

std::string TestPlugin(const std::string& name) { return TEST_PLUGINS "/" + name + ".so"; }

bool HasUserNamespaces() {
  const pid_t child = fork();
  if (child == 0) {
    _exit(unshare(CLONE_NEWUSER) == 0 ? 0 : 1);
  }
  int status = 0;
  return waitpid(child, &status, 0) == child && status == 0;
}

bool HasReadOnlyCoreFiles() { return access("/proc/sys/net/core/rmem_max", F_OK) == 0; }

void LimitOpenFiles() {
  const rlimit limit = {32, 32};
  if (setrlimit(RLIMIT_NOFILE, &limit) != 0) {
    Throw("limiting the open files");
  }
}

void TakeASmallStack() {
  const rlimit limit = {1 << 20, 1 << 20};
  if (setrlimit(RLIMIT_STACK, &limit) != 0) {
    Throw("limiting the stack");
  }
}

void Forbid(unsigned call, std::size_t argument, unsigned value) {
  Refuse(call, argument, BPF_JEQ, value, EPERM);
}

void ForbidNewFileSystems() { Forbid(SYS_mount, 3, 0); }

void ForbidFilesWithoutAName() {
  Refuse(SYS_openat, 2, BPF_JSET, O_TMPFILE & ~O_DIRECTORY, EOPNOTSUPP);
}

// Flags that /proc may have are locked in a user namespace: a remount has to keep them.
void MountReadOnly(const char* path) {
  constexpr unsigned long kFlags = MS_RDONLY | MS_NOSUID | MS_NODEV | MS_NOEXEC;
  if (unshare(CLONE_NEWNS) != 0 || mount(path, path, nullptr, MS_BIND | MS_REC, nullptr) != 0 ||
      mount(nullptr, path, nullptr, MS_BIND | MS_REMOUNT | kFlags, nullptr) != 0) {
    _exit(126);
  }
}

void BecomeOrdinaryUser() {
  if (EnterUserNamespace(kNobody)) {
    return;
  }
  if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0) {
    Throw("becoming an ordinary user");
  }
}

void ForbidUserNamespacesToRoot() {
  if (EnterUserNamespace(0)) {
    Write("/proc/sys/user/max_user_namespaces", "0");
  }
}

void ForbidNamespacesToRoot() { ForbidNamespacesTo(0); }

void LeaveOneNamespaceToRoot() {
  if (EnterUserNamespace(0)) {
    Write("/proc/sys/user/max_net_namespaces", "1");
  }
}

void ForbidNamespacesToOrdinaryUser() { ForbidNamespacesTo(kNobody); }
