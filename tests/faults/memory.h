#pragma once

#include <cstddef>
#include <functional>
#include <vector>

// The memory of the whole process, whoever asks for it: a program that links this replaces malloc
// and its kin, on which the operators new, the C library's files and the loader rest as well. For
// one thread.
namespace memory {

enum Mode { kOnce, kForEver };

struct Attempt {
  std::size_t failed = 0;       // how many allocations failed
  std::size_t failed_size = 0;  // what the first of them asked for
  bool threw = false;           // whether std::bad_alloc came out
};

// Lets `act` go on while its `n`-th allocation fails, that one alone or with all that follow; with
// 0 none. Blocks that it allocates are known until ForgetBlocks().
Attempt Try(const std::function<void()>& act, std::size_t n = 0, Mode mode = kOnce);

void ForgetBlocks();

struct Block {
  void* address;
  std::size_t size;
};

// The known blocks that have not been freed, by whomever and whenever.
std::vector<Block> LiveBlocks();

// How many known blocks, freed or not, have this size.
std::size_t CountOfSize(std::size_t size);

}  // namespace memory
