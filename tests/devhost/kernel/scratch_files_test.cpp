// Scratch files, laid by this process, which is in a private namespace.

#include "devhost/kaehost/kernel/scratch_files.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

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

}  // namespace

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
