#include "tests/devhost/support/private_run.h"

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cerrno>
#include <optional>
#include <system_error>

namespace {

// Also tests that expect no journal would leave one on the machine, if kaehost is wrong.
class WholeProgram : public testing::Environment {
  void SetUp() override { run_.emplace(); }
  void TearDown() override { run_.reset(); }

  std::optional<PrivateRun> run_;
};

[[maybe_unused]] const auto* const kWholeProgram =
    testing::AddGlobalTestEnvironment(new WholeProgram);

}  // namespace

// If / were shared with the machine, the machine would see the mount.
PrivateRun::PrivateRun() {
  if (mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0 ||
      mount("tmpfs", "/run", "tmpfs", 0, "mode=755") != 0) {
    throw std::system_error(errno, std::generic_category(), "mounting a private /run");
  }
}

PrivateRun::~PrivateRun() {
  umount2("/run", MNT_DETACH);
  devhost::Restore(before_);
}
