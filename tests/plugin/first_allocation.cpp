#include "tests/plugin/first_allocation.h"

#include <cstdlib>
#include <new>

namespace {

FirstAllocation g_first;
bool g_watching = false;
bool g_refusing = false;

}  // namespace

const FirstAllocation& WatchFirstAllocation() {
  g_first = {};
  g_watching = true;
  return g_first;
}

void RefuseFirstAllocation() { g_refusing = true; }

void* operator new(std::size_t size) {
  void* address = g_refusing ? nullptr : std::malloc(size);
  g_refusing = false;
  if (address == nullptr) {
    throw std::bad_alloc();
  }
  if (g_watching) {
    g_first = {address, size, false};
    g_watching = false;
  }
  return address;
}

void operator delete(void* address) noexcept {
  g_first.freed = g_first.freed || (address != nullptr && address == g_first.address);
  std::free(address);
}

void operator delete(void* address, std::size_t) noexcept { operator delete(address); }
