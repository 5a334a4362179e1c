// The private namespace, seen from inside: this process is in one, and moves copies of itself into
// further ones.

#include "devhost/kaehost/kernel/namespaces.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "tests/devhost/support/running_kaehost.h"

namespace {

// Whether an ordinary user who enters a namespace is root there. For a process of its own.
bool MakesAnOrdinaryUserRoot() try {
  BecomeOrdinaryUser();
  devhost::EnterPrivateNamespace();
  return geteuid() == 0 && getegid() == 0;
} catch (const devhost::NamespaceError&) {
  return false;
}

// Whether mounts below /proc reach other mount namespaces, or theirs this one.
bool SharesProc() {
  std::ifstream mounts("/proc/self/mountinfo");
  for (std::string line; std::getline(mounts, line);) {
    const bool is_shared =
        line.find(" shared:") != std::string::npos || line.find(" master:") != std::string::npos;
    if (is_shared && line.find(" /proc") != std::string::npos) {
      return true;
    }
  }
  return false;
}

// Whether a shared /proc is shared no more in a namespace. For a process of its own.
bool StopsSharing() {
  mount("none", "/proc", "none", MS_REC | MS_SHARED, nullptr);
  const bool shared_before = SharesProc();
  devhost::EnterPrivateNamespace();
  return shared_before && !SharesProc();
}

// Whether /proc/sys keeps its flags in a namespace, where the kernel locks them. For a process of
// its own.
bool KeepsLockedFlags() {
  constexpr unsigned long kFlags = MS_NOSUID | MS_NODEV | MS_NOEXEC;
  if (unshare(CLONE_NEWNS) != 0 ||
      mount("none", "/proc/sys", "none", MS_BIND | MS_REMOUNT | MS_RDONLY | kFlags, nullptr) != 0) {
    return false;
  }
  devhost::EnterPrivateNamespace();
  struct statvfs found = {};
  statvfs("/proc/sys", &found);
  return (found.f_flag & kFlags) == kFlags && (found.f_flag & MS_RDONLY) != 0;
}

}  // namespace

TEST(PrivateNamespace, KeepsLockedMountFlags) {
  EXPECT_EXIT(_exit(KeepsLockedFlags() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(PrivateNamespace, MakesAnOrdinaryUserItsRoot) {
  EXPECT_EXIT(_exit(MakesAnOrdinaryUserRoot() == HasUserNamespaces() ? 0 : 1),
              testing::ExitedWithCode(0), "");
}

TEST(PrivateNamespace, SharesNoMountsWithTheOutside) {
  EXPECT_EXIT(_exit(StopsSharing() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(PrivateNamespace, KeepsTheMachinesOtherTunablesFromRoot) {
  for (const char* path : {"/proc/sys/vm/swappiness", "/proc/sys/fs/file-max",
                           "/proc/sys/kernel/pid_max", "/proc/sys/kernel/hostname"}) {
    EXPECT_EQ(access(path, F_OK), 0) << path;
    EXPECT_EQ(access(path, W_OK), -1) << path;
    struct statvfs mounted = {};
    EXPECT_EQ(statvfs(path, &mounted), 0) << path;
    EXPECT_NE(mounted.f_flag & ST_RDONLY, 0U) << path << " is forbidden by its mode alone";
  }
}

TEST(PrivateNamespace, LeavesItsOwnTunablesToRoot) {
  EXPECT_EQ(access("/proc/sys/net/ipv4/tcp_sack", W_OK), 0);
  EXPECT_EQ(access("/proc/sys/user/max_user_namespaces", W_OK) == 0, HasUserNamespaces());
}
