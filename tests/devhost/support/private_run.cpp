#include "tests/devhost/support/private_run.h"

#include <sys/mount.h>

#include <cerrno>
#include <system_error>

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
