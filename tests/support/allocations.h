#pragma once

#include <cstddef>
#include <vector>

// Records every allocation by operator new during its lifetime. Programs that link allocations.cpp
// get its operators new and delete. Only one object at a time.
class Allocations {
 public:
  Allocations();
  ~Allocations();
  Allocations(const Allocations&) = delete;
  Allocations& operator=(const Allocations&) = delete;

  struct Block {
    void* address;
    std::size_t size;
    bool live;
  };

  // All blocks of this size, in order of allocation.
  static std::vector<Block> OfSize(std::size_t size);

  // All blocks of this size that are not freed yet.
  static std::vector<Block> Live(std::size_t size);

  // Makes the `n`-th allocation from now on throw std::bad_alloc, once. 0 means none.
  static void Fail(std::size_t n);

  // Returns whether that allocation is still to come.
  static bool IsToFail();
};
