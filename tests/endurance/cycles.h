#pragma once

#include <cstddef>
#include <cstdio>
#include <functional>

#include "tests/support/output.h"

// Something that is done again and again, in cycles of which each is like every other.
struct Endurance {
  const char* what;                              // what is counted
  std::size_t per_cycle;                         // how many of it a cycle brings
  std::function<void(std::size_t cycle)> cycle;  // does one
};

// Runs enough cycles for `wanted` of it, after some for warming up, and tells the process's
// footprint to `out` before, after and nine times in between. `captured` is what takes standard
// output. Throws std::runtime_error when the footprint has grown or when a cycle prints other bytes
// than the first did.
void Endure(std::FILE* out, CapturedOutput& captured, std::size_t wanted,
            const Endurance& endurance);
