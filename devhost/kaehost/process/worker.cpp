#include "devhost/kaehost/process/worker.h"

#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

int OrThrow(int result) {
  if (result < 0) {
    throw std::system_error(errno, std::generic_category(),
                            "cannot start a process for the plug-in");
  }
  return result;
}

constexpr std::uint64_t kLongestAnswer = std::uint64_t{1} << 30;
constexpr std::size_t kLongestOutput = std::size_t{64} << 20;

unsigned patience;  // in seconds

// When the other process dies, the worker ends its work. If it cannot, it must not stay for ever.
void EndInTimeAfterParent(std::chrono::seconds given) {
  patience = static_cast<unsigned>(given.count());
  struct sigaction action = {};
  action.sa_handler = [](int) { alarm(patience); };
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
  sigaction(SIGALRM, &action, nullptr);
  sigset_t alarms;  // the parent of kaehost can have left them blocked
  sigemptyset(&alarms);
  sigaddset(&alarms, SIGALRM);
  sigprocmask(SIG_UNBLOCK, &alarms, nullptr);
  prctl(PR_SET_PDEATHSIG, SIGALRM);
}

void FlushAll() {
  try {
    std::cout.flush();
  } catch (...) {  // the work can have set exceptions
  }
  std::fflush(stdout);
}

}  // namespace

// The work can have changed the mode of any descriptor.
void Worker::Orders::AwaitReady(short event) const {
  if (getpid() != process_) {
    _exit(EXIT_SUCCESS);
  }
  pollfd polled = {socket_, event, 0};
  while (poll(&polled, 1, -1) < 0 && errno == EINTR) {
  }
}

std::optional<int> Worker::Orders::Next() const {
  AwaitReady(POLLIN);
  int order = 0;
  const ssize_t size = recv(socket_, &order, sizeof order, MSG_WAITALL);
  return size == sizeof order ? std::optional(order) : std::nullopt;
}

bool Worker::Orders::HaveEnded() const {
  pollfd polled = {socket_, POLLRDHUP, 0};
  return poll(&polled, 1, 0) > 0;
}

void Worker::Orders::Answer(const Json& answer) const {
  FlushAll();
  std::string text;
  Json::to_cbor(answer, text);  // texts of a plug-in need not be UTF-8
  const std::uint64_t size = text.size();
  std::string message(reinterpret_cast<const char*>(&size), sizeof size);
  message += text;
  ssize_t sent = 0;
  for (std::size_t begin = 0; begin < message.size() && (sent >= 0 || errno == EINTR);) {
    AwaitReady(POLLOUT);
    sent = send(socket_, message.data() + begin, message.size() - begin, MSG_NOSIGNAL);
    begin += sent > 0 ? static_cast<std::size_t>(sent) : 0;
  }
}

Worker::Worker(const std::function<void(const Orders&)>& work, Interruption& interruption)
    : interruption_(interruption) {
  output_ = OrThrow(memfd_create("output", MFD_CLOEXEC));
  int sockets[2];
  OrThrow(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets));
  socket_ = sockets[0];
  FlushAll();
  Out().flush();
  process_ = OrThrow(fork());
  if (process_ == 0) {
    close(socket_);
    Work(work, sockets[1]);
  }
  close(sockets[1]);
  end_ = static_cast<int>(syscall(SYS_pidfd_open, process_, 0));
  if (end_ < 0) {
    const int error = errno;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    errno = error;
    OrThrow(end_);
  }
}

// Without a buffer, printf and std::cout keep their order with write.
void Worker::Work(const std::function<void(const Orders&)>& work, int socket) const noexcept {
  EndInTimeAfterParent(interruption_.patience());
  dup2(output_, STDOUT_FILENO);
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  work(Orders(socket));
  FlushAll();
  std::exit(EXIT_SUCCESS);
}

Worker::~Worker() {
  HasEndedWell();
  for (const int descriptor : {output_, socket_, end_}) {
    close(descriptor);
  }
}

void Worker::Order(int order) const { send(socket_, &order, sizeof order, MSG_NOSIGNAL); }

std::optional<Json> Worker::Answer() {
  std::uint64_t size = 0;
  std::string bytes = Receive(sizeof size);
  if (bytes.size() < sizeof size) {
    return std::nullopt;
  }
  std::memcpy(&size, bytes.data(), sizeof size);
  if (size > kLongestAnswer) {
    return std::nullopt;
  }
  bytes = Receive(static_cast<std::size_t>(size));
  const Json answer = Json::from_cbor(bytes, true, false);
  return answer.is_discarded() ? std::nullopt : std::optional(answer);
}

// What the worker sent before its end is received after it.
std::string Worker::Receive(std::size_t size) {
  std::string bytes;
  while (bytes.size() < size) {
    is_given_up_ = is_given_up_ || !interruption_.AwaitReadable({socket_, end_});
    char piece[4096];
    const ssize_t received =
        recv(socket_, piece, std::min(sizeof piece, size - bytes.size()), MSG_DONTWAIT);
    if (received <= 0) {
      break;
    }
    bytes.append(piece, static_cast<std::size_t>(received));
  }
  return bytes;
}

void Worker::EndOrders() const { shutdown(socket_, SHUT_WR); }

void Worker::Kill() const {
  if (!status_) {
    kill(process_, SIGKILL);
  }
}

bool Worker::HasEndedWell() {
  if (!status_) {
    shutdown(socket_, SHUT_RDWR);  // the worker must not wait until its answers are read
    is_given_up_ = is_given_up_ || !interruption_.AwaitReadable({end_});
    if (is_given_up_) {
      kill(process_, SIGKILL);
      status_ = interruption_.AwaitEnd(process_);  // it can have threads that are traced
    } else {
      waitpid(process_, &status_.emplace(), 0);
    }
  }
  return *status_ == 0;
}

std::string Worker::AboutEnd() {
  HasEndedWell();
  if (is_given_up_) {
    return "did not return within " + std::to_string(interruption_.patience().count()) +
           " s after a signal and was killed";
  }
  if (WIFSIGNALED(*status_)) {
    const int signal = WTERMSIG(*status_);
    return "was killed by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
  }
  return "ended with status " + std::to_string(WEXITSTATUS(*status_));
}

bool Worker::HasEnded() const {
  pollfd polled = {end_, POLLIN, 0};
  return poll(&polled, 1, 0) > 0;
}

std::size_t Worker::OutputSize() const {
  struct stat file = {};
  fstat(output_, &file);
  return static_cast<std::size_t>(file.st_size);
}

std::string Worker::Output(std::size_t begin, std::size_t end) const {
  const std::size_t whole = std::max(begin, end) - begin;
  std::string text(std::min(whole, kLongestOutput), '\0');
  std::size_t size = 0;
  ssize_t read = 0;
  while (size < text.size() && (read = pread(output_, text.data() + size, text.size() - size,
                                             static_cast<off_t>(begin + size))) > 0) {
    size += static_cast<std::size_t>(read);
  }
  text.resize(size);
  if (whole > kLongestOutput) {
    text += "\n[kaehost: the plug-in printed more than 64 MiB; the rest is not shown]\n";
  }
  rlimit files = {};
  if (getrlimit(RLIMIT_FSIZE, &files) == 0 && whole > 0 && end >= files.rlim_cur) {
    text +=
        "\n[kaehost: failed to keep the plug-in's lines above the file size limit (ulimit -f)]\n";
  }
  return text;
}

std::string Worker::TakeOutput() {
  const std::size_t begin = std::exchange(taken_, OutputSize());
  return Output(begin, taken_);
}

}  // namespace devhost
