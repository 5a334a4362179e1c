// The main function of every test that uses /proc/sys/net. It first moves the whole process into a
// private namespace, so that no test can reach the machine's own tunables.

#include <gtest/gtest.h>

#include <cstdio>

#include "devhost/kaehost/kernel/namespaces.h"
#include "tests/support/namespace.h"

namespace {

// Prints failures on standard error too: many tests capture standard output, including the report
// of their failures.
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
  // Buffer the output as on a device, where standard output is not a terminal.
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
