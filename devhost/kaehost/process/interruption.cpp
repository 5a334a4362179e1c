#include "devhost/kaehost/process/interruption.h"

#include <poll.h>
#include <sys/ptrace.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace devhost {
namespace {

// nohup does so with SIGHUP, and a shell with SIGINT in its background jobs.
bool IsIgnored(int signal) {
  struct sigaction found = {};
  sigaction(signal, nullptr, &found);
  return found.sa_handler == SIG_IGN;
}

void EndTracing(pid_t child, int signal) {
  ptrace(PTRACE_DETACH, child, nullptr, static_cast<long>(signal));
}

void EndTracingOfStopped() {
  siginfo_t stopped = {};
  while (waitid(P_ALL, 0, &stopped, WSTOPPED | WNOHANG) == 0 && stopped.si_pid != 0) {
    EndTracing(stopped.si_pid, stopped.si_status);
    stopped = {};
  }
}

bool IsThread(pid_t id) { return tgkill(id, id, 0) != 0 && errno == ESRCH; }

// A thread that has made this process its tracer keeps its own process from ending until then.
void ReapTracedThreads() {
  constexpr int kThreads = static_cast<int>(__WCLONE);
  siginfo_t ended = {};
  while (waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT | kThreads) == 0 &&
         IsThread(ended.si_pid)) {
    waitpid(ended.si_pid, nullptr, kThreads);
    ended = {};
  }
}

}  // namespace

Interrupted::Interrupted(int signal)
    : std::runtime_error("interrupted by signal " + std::to_string(signal) + " (" +
                         strsignal(signal) + ") before the first request"),
      signal_(signal) {}

Interruption::Interruption(std::chrono::seconds patience) : patience_(patience) {
  sigemptyset(&awaited_);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    if (!IsIgnored(signal)) {
      sigaddset(&awaited_, signal);
    }
  }
  std::signal(SIGCHLD, SIG_DFL);  // if it is ignored, children end unnoticed
  sigaddset(&awaited_, SIGCHLD);
  descriptor_ = signalfd(-1, &awaited_, SFD_CLOEXEC);
  if (descriptor_ < 0) {
    throw std::system_error(errno, std::generic_category(), "cannot wait for signals");
  }
  sigprocmask(SIG_BLOCK, &awaited_, &mask_before_);
}

// Signals that come at the end have nothing left to interrupt.
Interruption::~Interruption() {
  Came();
  close(descriptor_);
  sigprocmask(SIG_SETMASK, &mask_before_, nullptr);
}

void Interruption::Note(int signal) {
  if (signal == SIGCHLD) {
    EndTracingOfStopped();
    ReapTracedThreads();
  } else if (!came_) {
    came_ = signal;
    came_at_ = Clock::now();
  }
}

std::optional<int> Interruption::Came() {
  const timespec at_once = {};
  for (int signal = 0; (signal = sigtimedwait(&awaited_, nullptr, &at_once)) > 0;) {
    Note(signal);
  }
  return came_;
}

void Interruption::ThrowIfCame() {
  if (const std::optional<int> signal = Came()) {
    throw Interrupted(*signal);
  }
}

Interruption::Clock::duration Interruption::TimeLeft(Clock::time_point begin) const {
  return std::max(begin, came_at_) + patience_ - Clock::now();
}

int Interruption::MillisecondsLeft(Clock::time_point begin) const {
  using std::chrono::milliseconds;
  const auto left = std::chrono::ceil<milliseconds>(TimeLeft(begin));
  return static_cast<int>(std::max(left, milliseconds::zero()).count());
}

bool Interruption::IsOutOfPatience(Clock::time_point begin) {
  return Came() && TimeLeft(begin) <= Clock::duration::zero();
}

bool Interruption::AwaitReadable(std::initializer_list<int> descriptors) {
  const Clock::time_point begin = Clock::now();
  std::vector<pollfd> polled = {
      {descriptor_, POLLIN, 0}
  };
  for (const int descriptor : descriptors) {
    polled.push_back({descriptor, POLLIN, 0});
  }
  // A signal that has come before is not readable any more.
  while (!IsOutOfPatience(begin)) {
    poll(polled.data(), polled.size(), came_ ? MillisecondsLeft(begin) : -1);
    if (std::any_of(polled.begin() + 1, polled.end(),
                    [](const pollfd& one) { return one.revents != 0; })) {
      return true;
    }
  }
  return false;
}

void Interruption::AwaitSignalOr(int descriptor) {
  pollfd polled[] = {
      {descriptor_, POLLIN, 0},
      {descriptor,  POLLIN, 0}
  };
  while (!Came() && polled[1].revents == 0) {
    poll(polled, std::size(polled), -1);
  }
}

int Interruption::AwaitEnd(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, WNOHANG) == 0 || WIFSTOPPED(status)) {
    if (WIFSTOPPED(status)) {
      EndTracing(child, WSTOPSIG(std::exchange(status, 0)));
      continue;
    }
    siginfo_t info = {};
    const int signal = sigwaitinfo(&awaited_, &info);
    if (signal > 0) {
      Note(signal);
      if (signal != SIGCHLD && info.si_code != SI_KERNEL) {
        kill(child, signal);
      }
      if (signal != SIGCHLD) {
        kill(child, SIGCONT);  // if it is stopped, it gets the signal only then
      }
    }
  }
  constexpr int kSignalled = 128;
  return WIFEXITED(status) ? WEXITSTATUS(status) : kSignalled + WTERMSIG(status);
}

}  // namespace devhost
