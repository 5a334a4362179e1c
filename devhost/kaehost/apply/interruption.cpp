#include "devhost/kaehost/apply/interruption.h"

#include <sys/wait.h>

#include <cerrno>

namespace devhost {
namespace {

// nohup does so with SIGHUP, and a shell with SIGINT in its background jobs.
bool IsIgnored(int signal) {
  struct sigaction found = {};
  sigaction(signal, nullptr, &found);
  return found.sa_handler == SIG_IGN;
}

}  // namespace

Interruption::Interruption() {
  sigemptyset(&awaited_);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    if (!IsIgnored(signal)) {
      sigaddset(&awaited_, signal);
    }
  }
  std::signal(SIGCHLD, SIG_DFL);  // if it is ignored, children end unnoticed
  sigset_t blocked = awaited_;
  sigaddset(&blocked, SIGCHLD);
  sigprocmask(SIG_BLOCK, &blocked, &mask_before_);
}

// Signals that come at the end have nothing left to interrupt.
Interruption::~Interruption() {
  const timespec at_once = {};
  while (sigtimedwait(&awaited_, nullptr, &at_once) > 0) {
  }
  sigprocmask(SIG_SETMASK, &mask_before_, nullptr);
}

std::optional<int> Interruption::Came() {
  const timespec at_once = {};
  const int signal = came_ ? *came_ : sigtimedwait(&awaited_, nullptr, &at_once);
  if (signal > 0) {
    came_ = signal;
  }
  return came_;
}

void Interruption::Await() {
  while (!came_) {
    const int signal = sigwaitinfo(&awaited_, nullptr);
    if (signal > 0) {
      came_ = signal;
    }
  }
}

int Interruption::AwaitEnd(pid_t child) {
  sigset_t awaited = awaited_;
  sigaddset(&awaited, SIGCHLD);
  int status = 0;
  while (waitpid(child, &status, WNOHANG) == 0) {
    siginfo_t info = {};
    const int signal = sigwaitinfo(&awaited, &info);
    if (signal > 0 && signal != SIGCHLD) {
      came_ = signal;
      if (info.si_code != SI_KERNEL) {
        kill(child, signal);
      }
    }
  }
  constexpr int kSignalled = 128;
  return WIFEXITED(status) ? WEXITSTATUS(status) : kSignalled + WTERMSIG(status);
}

}  // namespace devhost
