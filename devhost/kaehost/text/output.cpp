#include "devhost/kaehost/text/output.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <optional>
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

bool WriteAll(const char* data, std::size_t size) {
  const auto begin = std::chrono::steady_clock::now();
  while (size > 0) {
    const ssize_t written = write(STDOUT_FILENO, data, size);
    if (written < 0 && (errno != EINTR || (given_up && given_up(begin)))) {
      return false;
    }
    if (written > 0) {
      data += written;
      size -= static_cast<std::size_t>(written);
    }
  }
  return true;
}

class StandardOutput : public std::streambuf {
 public:
  StandardOutput() { Empty(); }
  ~StandardOutput() override { StandardOutput::sync(); }

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
    const auto size = static_cast<std::size_t>(pptr() - pbase());
    const std::optional<Ticks> ticks =
        given_up ? std::optional<Ticks>(std::in_place) : std::nullopt;
    const bool is_written = WriteAll(pbase(), size);
    Empty();
    return is_written ? 0 : -1;
  }

 private:
  void Empty() { setp(buffer_.data(), buffer_.data() + buffer_.size()); }

  std::array<char, BUFSIZ> buffer_;
};

}  // namespace

std::ostream& Out() {
  static StandardOutput buffer;
  static std::ostream out(&buffer);
  return out;
}

void TellError(std::string_view sentence) { std::cerr << "kaehost: " << Visible(sentence) << '\n'; }

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
