// The private namespace, seen from inside: this process is in one, and moves copies of itself into
// further ones.

#include "devhost/kaehost/sandbox.h"

#include <gmock/gmock.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/devhost/kaehost.h"
#include "tests/support/tunable_tree.h"

using devhost::MakeWritable;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::string Content(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string Mounts() { return Content("/proc/self/mountinfo"); }

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

}  // namespace

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
    EXPECT_EQ(errno, EROFS) << path;
  }
}

TEST(PrivateNamespace, LeavesItsOwnTunablesToRoot) {
  EXPECT_EQ(access("/proc/sys/net/ipv4/tcp_sack", W_OK), 0);
  EXPECT_EQ(access("/proc/sys/user/max_user_namespaces", W_OK) == 0, HasUserNamespaces());
}

TEST(MakeWritable, LaysAFileWithTheSameContentsOverAReadOnlyOne) {
  TunableTree tree;
  tree.Write("core/rmem_max", "212992\n");
  tree.MakeReadOnly("core/rmem_max");
  const std::string path = "/proc/sys/net/core/rmem_max";
  EXPECT_THAT(MakeWritable({path}), ElementsAre(path));
  EXPECT_EQ(Content(path), "212992\n");
  std::ofstream(path) << "5";
  EXPECT_EQ(Content(path), "5");
}

TEST(MakeWritable, LaysAFileOfItsOwnOverEach) {
  TunableTree tree;
  std::vector<std::string> paths;
  for (const std::string name : {"core/rmem_max", "core/wmem_max"}) {
    tree.Write(name, name);
    tree.MakeReadOnly(name);
    paths.push_back("/proc/sys/net/" + name);
  }
  EXPECT_EQ(MakeWritable(paths), paths);
  std::ofstream(paths[0]) << "5";
  EXPECT_EQ(Content(paths[0]), "5");
  EXPECT_EQ(Content(paths[1]), "core/wmem_max");
}

TEST(MakeWritable, LeavesWritableAndMissingFilesAlone) {
  TunableTree tree;
  tree.Write("ipv4/tcp_sack", "1\n");
  const std::string mounts = Mounts();
  EXPECT_THAT(MakeWritable({"/proc/sys/net/ipv4/tcp_sack", "/proc/sys/net/ipv4/nowhere"}),
              IsEmpty());
  EXPECT_EQ(Content("/proc/sys/net/ipv4/tcp_sack"), "1\n");
  EXPECT_EQ(Mounts(), mounts);
}

TEST(MakeWritable, LeavesNothingMountedButTheFileItself) {
  TunableTree tree;
  tree.Write("core/rmem_max", "1");
  tree.MakeReadOnly("core/rmem_max");
  MakeWritable({"/proc/sys/net/core/rmem_max"});
  EXPECT_THAT(Mounts(), HasSubstr("/rmem_max /proc/sys/net/core/rmem_max "));
  EXPECT_THAT(Mounts(), Not(HasSubstr(" /proc/fs ")));
}
