#pragma once

#include <chrono>
#include <thread>

// Waits until it holds, which can take its time on a busy machine. False if it has not in half a
// minute.
bool Soon(const auto& holds) {
  constexpr auto kPause = std::chrono::milliseconds(10);
  bool is_so = holds();
  for (int i = 0; i < 3000 && !is_so; ++i) {
    std::this_thread::sleep_for(kPause);
    is_so = holds();
  }
  return is_so;
}
