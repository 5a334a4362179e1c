#include "devhost/kaehost/text/output.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <ostream>
#include <streambuf>
#include <utility>

#include "devhost/kaehost/text/characters.h"

namespace devhost {
namespace {

BlockedOutput::GiveUp given_up;

// Interrupts a write again and again, because the first signal can come just before it.
class Ticks {
 public:
  static void Install() {
    struct sigaction action = {};
    action.sa_handler = [](int) {};  // without SA_RESTART: the write returns
    sigaction(SIGRTMIN, &action, nullptr);
    sigset_t ticks;  // the parent of kaehost can have left them blocked
    sigemptyset(&ticks);
    sigaddset(&ticks, SIGRTMIN);
    sigprocmask(SIG_UNBLOCK, &ticks, nullptr);
  }

  Ticks() {
    constexpr timespec kTick = {0, 100'000'000};
    constexpr itimerspec kTicks = {kTick, kTick};
    sigevent event = {};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGRTMIN;
    timer_create(CLOCK_MONOTONIC, &event, &timer_);
    timer_settime(timer_, 0, &kTicks, nullptr);
  }
  ~Ticks() { timer_delete(timer_); }
  Ticks(const Ticks&) = delete;
  Ticks& operator=(const Ticks&) = delete;

 private:
  timer_t timer_ = {};
};

// After a write failed: waits until it can be tried again. Returns false if it cannot.
bool AwaitRetry(int descriptor, std::chrono::steady_clock::time_point begin) {
  if (errno == EAGAIN) {
    pollfd polled = {descriptor, POLLOUT, 0};
    poll(&polled, 1, -1);
  } else if (errno != EINTR) {
    return false;
  }
  return !given_up || !given_up(begin);
}

bool WriteAll(int descriptor, const char* data, std::size_t size) {
  const auto begin = std::chrono::steady_clock::now();
  while (size > 0) {
    const ssize_t written = write(descriptor, data, size);
    if (written < 0 && !AwaitRetry(descriptor, begin)) {
      return false;
    }
    if (written > 0) {
      data += written;
      size -= static_cast<std::size_t>(written);
    }
  }
  return true;
}

bool Write(int descriptor, std::string_view text) {
  const std::optional<Ticks> ticks = given_up ? std::optional<Ticks>(std::in_place) : std::nullopt;
  return WriteAll(descriptor, text.data(), text.size());
}

bool has_passing_line = false;

class StandardStream : public std::streambuf {
 public:
  explicit StandardStream(int descriptor) : descriptor_(descriptor) { Empty(); }
  ~StandardStream() override { StandardStream::sync(); }

 protected:
  int_type overflow(int_type character) override {
    if (sync() != 0) {
      return traits_type::eof();
    }
    return traits_type::eq_int_type(character, traits_type::eof())
               ? 0
               : sputc(traits_type::to_char_type(character));
  }

  int sync() override {
    const std::string_view text(pbase(), static_cast<std::size_t>(pptr() - pbase()));
    if (!text.empty()) {
      DeletePassingLine();
    }
    const bool is_written = Write(descriptor_, text);
    Empty();
    return is_written ? 0 : -1;
  }

 private:
  void Empty() { setp(buffer_.data(), buffer_.data() + buffer_.size()); }

  const int descriptor_;
  std::array<char, BUFSIZ> buffer_;
};

}  // namespace

std::ostream& Out() {
  static StandardStream buffer(STDOUT_FILENO);
  static std::ostream out(&buffer);
  return out;
}

std::ostream& Errors() {
  static StandardStream buffer(STDERR_FILENO);
  static std::ostream errors(&buffer);
  return errors;
}

void TellError(std::string_view sentence) {
  Errors() << "kaehost: " + Visible(sentence) + '\n' << std::flush;
}

bool KnowsEscapes(int descriptor) {
  const char* kind = std::getenv("TERM");
  return isatty(descriptor) == 1 && (kind == nullptr || std::string_view(kind) != "dumb");
}

void ShowPassingLine(std::string_view line) {
  // In between, what is longer than the terminal is wide does not begin another line, which would
  // stay.
  constexpr const char* kCutLine = "\x1b[?7l";
  constexpr const char* kWrapLine = "\x1b[?7h";
  if (KnowsEscapes(STDERR_FILENO)) {
    has_passing_line = false;  // it is replaced
    Errors() << kClearLine + (kCutLine + Visible(line)) + kWrapLine << std::flush;
    has_passing_line = Errors().good();
  }
}

void DeletePassingLine() {
  if (std::exchange(has_passing_line, false)) {
    Write(STDERR_FILENO, kClearLine);
  }
}

bool IsTerminal() {
  static const bool is_terminal = isatty(STDOUT_FILENO) == 1;
  return is_terminal;
}

std::string ForOutput(const std::string& lines) {
  return IsTerminal() ? Visible(lines, "\n\t") : lines;
}

BlockedOutput::BlockedOutput(GiveUp give_up) {
  Ticks::Install();
  given_up = std::move(give_up);
}

BlockedOutput::~BlockedOutput() { given_up = nullptr; }

}  // namespace devhost
