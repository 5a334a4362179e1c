#include "tests/support/allocations.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <new>

namespace {

// A fixed table, because recording must not allocate.
std::array<Allocations::Block, 1 << 16> g_blocks;
std::size_t g_count = 0;
bool g_watching = false;
std::size_t g_allocations_until_failure = 0;

}  // namespace

Allocations::Allocations() {
  g_count = 0;
  g_watching = true;
}

Allocations::~Allocations() {
  g_watching = false;
  Fail(0);
}

void Allocations::Fail(std::size_t n) { g_allocations_until_failure = n; }

bool Allocations::IsToFail() { return g_allocations_until_failure > 0; }

std::vector<Allocations::Block> Allocations::OfSize(std::size_t size) {
  g_watching = false;
  std::vector<Block> blocks;
  std::copy_if(g_blocks.begin(), g_blocks.begin() + static_cast<std::ptrdiff_t>(g_count),
               std::back_inserter(blocks), [&](const Block& block) { return block.size == size; });
  g_watching = true;
  return blocks;
}

std::vector<Allocations::Block> Allocations::Live(std::size_t size) {
  std::vector<Block> blocks = OfSize(size);
  std::erase_if(blocks, [](const Block& block) { return !block.live; });
  return blocks;
}

void* operator new(std::size_t size) {
  if (g_allocations_until_failure > 0 && --g_allocations_until_failure == 0) {
    throw std::bad_alloc();
  }
  void* address = std::malloc(size);
  if (address == nullptr) {
    throw std::bad_alloc();
  }
  if (g_watching && g_count < g_blocks.size()) {
    g_blocks[g_count++] = {address, size, true};
  }
  return address;
}

void operator delete(void* address) noexcept {
  for (std::size_t i = g_watching ? g_count : 0; i-- > 0;) {
    if (g_blocks[i].address == address && g_blocks[i].live) {
      g_blocks[i].live = false;
      break;
    }
  }
  std::free(address);
}

void operator delete(void* address, std::size_t /*size*/) noexcept { operator delete(address); }
