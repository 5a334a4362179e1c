#pragma once

#include <cstddef>
#include <cstdio>
#include <optional>

// What the process holds at a moment.
struct Footprint {
  std::size_t heap;         // bytes that malloc has handed out, mapped blocks included
  std::size_t resident;     // KiB
  std::size_t descriptors;  // open ones

  static Footprint Measure();
};

// Measures the process's footprint again and again at moments that are alike, tells it as the rows
// of a table, and holds every row against the first: heap and descriptors have to be exactly equal,
// and resident memory, of which the kernel keeps an approximate count, may not grow by more than
// kResidentBound.
class FootprintTable {
 public:
  static constexpr std::size_t kResidentBound = 256;  // KiB

  // The table goes to `out`; `what` heads the column of the counts.
  FootprintTable(std::FILE* out, const char* what);

  // Throws std::runtime_error when anything has grown since the first row.
  void AddRow(std::size_t count);

 private:
  std::FILE* out_;
  std::optional<Footprint> first_;
};
