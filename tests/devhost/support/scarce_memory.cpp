// To be preloaded: all allocations fail from that on whose number is in the environment variable
// FIRST_FAILURE; only that one fails if there is a variable ONE_FAILURE. In processes that the
// program forks, as many fail, but none if there is a variable ONE_PROCESS. But a program that gets
// a mebibyte before has enough. A failure makes the file that FAILURE_FILE names.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>

// The C library's own, under the names that stay when the others are replaced.
extern "C" {
void* __libc_malloc(std::size_t size);                     // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(std::size_t count, std::size_t size);  // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* address, std::size_t size);     // NOLINT(bugprone-reserved-identifier)
void* __libc_memalign(std::size_t alignment,               // NOLINT(bugprone-reserved-identifier)
                      std::size_t size);
}

namespace {

bool Fails(std::size_t size) {
  constexpr std::size_t kEnough = std::size_t{1} << 20;
  static long count = 0;
  static long first = 0;
  static const pid_t process = getpid();
  if (first == 0) {
    const char* found = std::getenv("FIRST_FAILURE");
    first = found != nullptr ? std::atol(found) : -1;
  }
  if (first < 0 || ++count < first) {
    first = size < kEnough ? first : -1;
    return false;
  }
  if (getpid() != process && std::getenv("ONE_PROCESS") != nullptr) {
    return false;
  }
  if (const char* file = std::getenv("FAILURE_FILE"); file != nullptr) {
    close(open(file, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  }
  if (std::getenv("ONE_FAILURE") != nullptr) {
    first = -1;
  }
  errno = ENOMEM;
  return true;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void* malloc(std::size_t size) {
  return Fails(size) ? nullptr : __libc_malloc(size);
}

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) {
  return Fails(size) ? nullptr : __libc_calloc(count, size);
}

__attribute__((visibility("default"))) void* realloc(void* address, std::size_t size) {
  return Fails(size) ? nullptr : __libc_realloc(address, size);
}

__attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment,
                                                           std::size_t size) {
  return Fails(size) ? nullptr : __libc_memalign(alignment, size);
}
}
