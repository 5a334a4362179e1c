#include "tests/support/namespace.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "devhost/kaehost/kernel/namespaces.h"

constexpr int kSkipped = 77;

// In CI nobody reads the output, so a skipped run must not look like a passed one.
int Skip(const char* why) {
  std::fprintf(stderr, "SKIPPED, this was not tested: %s\n", why);
  const char* ci = std::getenv("CI");
  return ci != nullptr && std::strcmp(ci, "true") == 0 ? EXIT_FAILURE : kSkipped;
}

// If entering went wrong, no test may run on the machine's own tunables.
void EnterPrivateNamespace() {
  const auto network = [] { return std::filesystem::read_symlink("/proc/self/ns/net"); };
  const std::filesystem::path machines = network();
  devhost::EnterPrivateNamespace();
  if (network() == machines) {
    std::fputs("still in the machine's network namespace: nothing is tested here\n", stderr);
    std::exit(EXIT_FAILURE);
  }
}
