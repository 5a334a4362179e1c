// The main function of every test that meets /proc/sys/net: it moves the whole process into a
// private namespace first, so that no test can reach the machine's own tunables.

#include <gtest/gtest.h>

#include <cstdio>

#include "devhost/kaehost/sandbox.h"
#include "tests/support/namespace.h"

namespace {

// Tells failures on standard error as well: many tests capture standard output, and with it what is
// told there of their failures.
class FailuresOnStandardError : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (result.failed()) {
      const char* file = result.file_name() != nullptr ? result.file_name() : "unknown file";
      std::fprintf(stderr, "%s:%d: Failure\n%s\n", file, result.line_number(), result.message());
    }
  }
};

}  // namespace

int main(int argc, char** argv) {
  // Output goes through a buffer as on a device, where standard output is no terminal.
  std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new FailuresOnStandardError);
  if (!testing::GTEST_FLAG(list_tests)) {
    try {
      EnterPrivateNamespace();
    } catch (const devhost::NamespaceError& error) {
      return Skip(error.what());
    }
  }
  const int result = RUN_ALL_TESTS();
  const int skipped = testing::UnitTest::GetInstance()->skipped_test_count();
  return result == 0 && skipped > 0 ? Skip("this kernel lacks what the test needs") : result;
}
