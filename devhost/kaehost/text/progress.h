#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace devhost {

// A line on standard error that shows how far a step is, if that is a terminal. A short step has
// none. The line is deleted with this object.
class Progress {
 public:
  // A step of `total` parts.
  Progress(std::string step, std::size_t total);
  ~Progress() { Clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // One more part is done.
  void Advance();

  // Deletes the line, before something else is printed.
  void Clear();

 private:
  using Clock = std::chrono::steady_clock;

  const std::string step_;
  const std::size_t total_;
  std::size_t done_ = 0;
  bool is_shown_ = false;
  Clock::time_point shown_at_ = Clock::now();
};

}  // namespace devhost
