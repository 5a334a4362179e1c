#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "devhost/kaehost/text/output.h"

namespace devhost {

// A line on standard error that shows how far a step is, if that is a terminal. A short step has
// none. The line is deleted with this object, and by what is printed in between.
class Progress {
 public:
  // A step of `total` parts.
  Progress(std::string step, std::size_t total);
  ~Progress() { DeletePassingLine(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // One more part is done.
  void Advance();

 private:
  using Clock = std::chrono::steady_clock;

  const std::string step_;
  const std::size_t total_;
  std::size_t done_ = 0;
  Clock::time_point shown_at_ = Clock::now();
};

}  // namespace devhost
