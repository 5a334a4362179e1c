#include "devhost/kaehost/text/progress.h"

#include <utility>

namespace devhost {
namespace {

// "[#####               ] 250/1000"
std::string Bar(std::size_t done, std::size_t total) {
  constexpr std::size_t kWidth = 20;
  const std::size_t full = kWidth * done / total;
  return '[' + std::string(full, '#') + std::string(kWidth - full, ' ') + "] " +
         std::to_string(done) + '/' + std::to_string(total);
}

}  // namespace

Progress::Progress(std::string step, std::size_t total) : step_(std::move(step)), total_(total) {}

void Progress::Advance() {
  constexpr auto kPause = std::chrono::milliseconds(100);
  ++done_;
  const Clock::time_point now = Clock::now();
  if (done_ <= total_ && now - shown_at_ >= kPause) {
    ShowPassingLine(Bar(done_, total_) + ' ' + step_);
    shown_at_ = now;
  }
}

}  // namespace devhost
