#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

namespace bench {

inline double Seconds(const auto& operation) {
  const auto start = std::chrono::steady_clock::now();
  operation();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// `share` 0.5 is the median.
inline double Quantile(std::vector<double> numbers, double share) {
  const auto at = numbers.begin() +
                  static_cast<std::ptrdiff_t>(share * static_cast<double>(numbers.size() - 1));
  std::nth_element(numbers.begin(), at, numbers.end());
  return *at;
}

}  // namespace bench
