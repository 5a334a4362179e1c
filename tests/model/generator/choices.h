#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace model {

// The source of the decisions in a random scenario: a seed, or bytes from elsewhere, such as a
// fuzzer. The same source gives the same decisions with every compiler and library.
class Choices {
 public:
  static Choices FromSeed(std::uint64_t seed) { return {seed, true, nullptr, 0}; }

  // After the last byte, every decision is 0. The bytes must outlive the choices.
  static Choices FromBytes(const std::uint8_t* bytes, std::size_t size) {
    return {0, false, bytes, size};
  }

  // A number from 0 to n - 1.
  std::size_t Below(std::size_t n) {
    if (n <= 1) {
      return 0;
    }
    return random_ ? static_cast<std::size_t>(Random() % n) : Number(n) % n;
  }

  // Returns true once in `n` times, and never after the last byte.
  bool OneIn(std::size_t n) { return Below(n) == n - 1; }

  template <class T>
  const T& Of(const std::vector<T>& several) {
    return several[Below(several.size())];
  }

  template <class T>
  T Of(std::initializer_list<T> several) {
    return several.begin()[Below(several.size())];
  }

 private:
  Choices(std::uint64_t seed, bool random, const std::uint8_t* bytes, std::size_t size)
      : state_(seed), random_(random), bytes_(bytes), left_(size) {}

  // SplitMix64.
  std::uint64_t Random() {
    state_ += 0x9e3779b97f4a7c15;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27U)) * 0x94d049bb133111eb;
    return z ^ (z >> 31U);
  }

  // As many bytes as a number below `n` needs.
  std::size_t Number(std::size_t n) {
    std::size_t number = 0;
    for (std::size_t reach = 1; reach < n; reach *= 256) {
      number = number * 256 + (left_ > 0 ? *bytes_ : 0U);
      bytes_ += left_ > 0 ? 1 : 0;
      left_ -= left_ > 0 ? 1 : 0;
    }
    return number;
  }

  std::uint64_t state_;
  bool random_;
  const std::uint8_t* bytes_;
  std::size_t left_;
};

}  // namespace model
