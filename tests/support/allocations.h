#pragma once

#include <cstddef>
#include <vector>

// Watches every allocation by operator new for as long as it lives. The program's operators new and
// delete are replaced where this file's source is linked in. One at a time.
class Allocations {
 public:
  Allocations();
  ~Allocations();
  Allocations(const Allocations&) = delete;
  Allocations& operator=(const Allocations&) = delete;

  struct Block {
    void* address;
    std::size_t size;
    std::size_t host_calls;  // how many calls the recording host had seen before
    bool live;
  };

  // All blocks of this size, in the order of their allocation.
  static std::vector<Block> OfSize(std::size_t size);

  // Those that have not been freed.
  static std::vector<Block> Live(std::size_t size);

  // Lets the `n`-th allocation from now on throw std::bad_alloc, once; with 0 none.
  static void Fail(std::size_t n);

  // Answers whether that allocation has not come yet.
  static bool IsToFail();
};
