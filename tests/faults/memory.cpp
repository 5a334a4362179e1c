#include "tests/faults/memory.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>

// The C library's own, under the names that stay when the others are replaced.
extern "C" {
void* __libc_malloc(std::size_t size);                     // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(std::size_t count, std::size_t size);  // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* address, std::size_t size);     // NOLINT(bugprone-reserved-identifier)
void* __libc_memalign(std::size_t to, std::size_t size);   // NOLINT(bugprone-reserved-identifier)
void __libc_free(void* address);                           // NOLINT(bugprone-reserved-identifier)
}

namespace {

// A known block. Those that have not been freed are linked by what their addresses have in common.
struct Known {
  memory::Block block;
  bool live;
  Known* next;
};

// Fixed tables: keeping them must not allocate.
std::array<Known, 1 << 14> g_blocks;
std::size_t g_count = 0;
std::array<Known*, 1 << 12> g_live;

bool g_trying = false;
memory::Mode g_mode = memory::kOnce;
std::size_t g_until_failure = 0;  // 0: none is to fail
memory::Attempt g_attempt;

// Answers whether the allocation that is asked for is one of those to fail.
bool Fails(std::size_t size) {
  if (!g_trying || g_until_failure == 0 || --g_until_failure > 0) {
    return false;
  }
  g_until_failure = g_mode == memory::kForEver ? 1 : 0;
  if (g_attempt.failed++ == 0) {
    g_attempt.failed_size = size;
  }
  errno = ENOMEM;
  return true;
}

Known** LiveWith(const void* address) {
  return &g_live[(reinterpret_cast<std::uintptr_t>(address) / alignof(std::max_align_t)) %
                 g_live.size()];
}

void* Noted(void* address, std::size_t size) {
  if (g_trying && address != nullptr) {
    if (g_count == g_blocks.size()) {
      std::abort();  // what is not noted would not be missed
    }
    Known** head = LiveWith(address);
    g_blocks[g_count] = {{address, size}, true, *head};
    *head = &g_blocks[g_count++];
  }
  return address;
}

void Forget(const void* address) {
  for (Known** link = LiveWith(address); *link != nullptr; link = &(*link)->next) {
    if ((*link)->block.address == address) {
      (*link)->live = false;
      *link = (*link)->next;
      break;
    }
  }
}

}  // namespace

namespace memory {

Attempt Try(const std::function<void()>& act, std::size_t n, Mode mode) {
  g_attempt = {};
  g_until_failure = n;
  g_mode = mode;
  g_trying = true;
  try {
    act();
  } catch (const std::bad_alloc&) {
    g_attempt.threw = true;
  }
  g_trying = false;
  return g_attempt;
}

void ForgetBlocks() {
  g_count = 0;
  g_live.fill(nullptr);
}

std::vector<Block> LiveBlocks() {
  std::vector<Block> blocks;
  for (std::size_t i = 0; i < g_count; ++i) {
    if (g_blocks[i].live) {
      blocks.push_back(g_blocks[i].block);
    }
  }
  return blocks;
}

std::size_t CountOfSize(std::size_t size) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < g_count; ++i) {
    count += g_blocks[i].block.size == size ? 1U : 0U;
  }
  return count;
}

}  // namespace memory

extern "C" {

void* malloc(std::size_t size) { return Fails(size) ? nullptr : Noted(__libc_malloc(size), size); }

void* calloc(std::size_t count, std::size_t size) {
  return Fails(count * size) ? nullptr : Noted(__libc_calloc(count, size), count * size);
}

void* realloc(void* address, std::size_t size) {
  if (Fails(size)) {
    return nullptr;
  }
  Forget(address);
  return Noted(__libc_realloc(address, size), size);
}

void* memalign(std::size_t to, std::size_t size) {
  return Fails(size) ? nullptr : Noted(__libc_memalign(to, size), size);
}

void* aligned_alloc(std::size_t to, std::size_t size) { return memalign(to, size); }

int posix_memalign(void** address, std::size_t to, std::size_t size) {
  *address = memalign(to, size);
  return *address == nullptr ? ENOMEM : 0;
}

void free(void* address) {
  Forget(address);
  __libc_free(address);
}

}  // extern "C"
