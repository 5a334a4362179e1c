#include "devhost/kaehost/text/progress.h"

#include <unistd.h>

#include <ostream>
#include <utility>

#include "devhost/kaehost/text/characters.h"
#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

constexpr const char* kClearLine = "\r\x1b[K";
// In between, what is longer than the terminal is wide does not begin another line, which would
// stay.
constexpr const char* kCutLine = "\x1b[?7l";
constexpr const char* kWrapLine = "\x1b[?7h";

// "[#####               ] 250/1000"
std::string Bar(std::size_t done, std::size_t total) {
  constexpr std::size_t kWidth = 20;
  const std::size_t full = kWidth * done / total;
  return '[' + std::string(full, '#') + std::string(kWidth - full, ' ') + "] " +
         std::to_string(done) + '/' + std::to_string(total);
}

}  // namespace

Progress::Progress(std::string step, std::size_t total)
    : step_(std::move(step)), total_(isatty(STDERR_FILENO) == 1 ? total : 0) {}

void Progress::Advance() {
  constexpr auto kPause = std::chrono::milliseconds(100);
  ++done_;
  const Clock::time_point now = Clock::now();
  if (done_ <= total_ && now - shown_at_ >= kPause) {
    Errors() << kClearLine << kCutLine << Bar(done_, total_) + ' ' + Visible(step_) << kWrapLine
             << std::flush;
    is_shown_ = true;
    shown_at_ = now;
  }
}

void Progress::Clear() {
  if (std::exchange(is_shown_, false)) {
    Errors() << kClearLine << std::flush;
  }
}

}  // namespace devhost
