#include "tests/support/namespace.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "devhost/kaehost/sandbox.h"

constexpr int kSkipped = 77;

// A skipped run must not pass for a green one where nobody reads along.
int Skip(const char* why) {
  std::fprintf(stderr, "SKIPPED, this was not tested: %s\n", why);
  const char* ci = std::getenv("CI");
  return ci != nullptr && std::strcmp(ci, "true") == 0 ? EXIT_FAILURE : kSkipped;
}

// A mistake in entering must not let a test loose on the machine's own tunables.
void EnterPrivateNamespace() {
  const auto network = [] { return std::filesystem::read_symlink("/proc/self/ns/net"); };
  const std::filesystem::path machines = network();
  devhost::EnterPrivateNamespace();
  if (network() == machines) {
    std::fputs("still in the machine's network namespace: nothing is tested here\n", stderr);
    std::exit(EXIT_FAILURE);
  }
}
