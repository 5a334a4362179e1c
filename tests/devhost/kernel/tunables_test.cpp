// The catalogue's files as kaehost reads and compares them.

#include "devhost/kaehost/kernel/tunables.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/tunable_tree.h"

using devhost::Change;
using devhost::Compare;
using devhost::ReadTunables;
using devhost::Tunables;
using testing::ElementsAre;
using testing::Pair;

namespace {

std::vector<std::string> Shown(const std::vector<Change>& changes) {
  std::vector<std::string> texts;
  for (const Change& change : changes) {
    texts.push_back(change.tunable + ": " + change.before + " -> " + change.after);
  }
  return texts;
}

long CountOpenFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

}  // namespace

TEST(ReadTunables, ReadsALongTextWhole) {
  TunableTree tree;
  for (const std::size_t size : {4095U, 4096U, 4097U, 10000U}) {
    const std::string text(size, 'x');
    tree.Write("ipv4/tcp_sack", text + '\n');
    EXPECT_THAT(ReadTunables(), ElementsAre(Pair("ipv4/tcp_sack", text)));
  }
}

TEST(ReadTunables, LeavesOutTheLastNewlineOnly) {
  TunableTree tree;
  tree.Write("ipv4/tcp_sack", "1\n\n");
  EXPECT_THAT(ReadTunables(), ElementsAre(Pair("ipv4/tcp_sack", "1\n")));
}

TEST(ReadTunables, HasAnEmptyTextForAFileThatCannotBeRead) {
  TunableTree tree;
  tree.MakeLoop("ipv4/tcp_ecn");
  tree.MakeFolder("ipv4/tcp_fack");
  tree.MakeMissing("ipv4/tcp_frto");
  EXPECT_THAT(ReadTunables(), ElementsAre(Pair("ipv4/tcp_ecn", ""), Pair("ipv4/tcp_fack", "")));
}

TEST(ReadTunables, ClosesWhatItOpens) {
  ReadTunables();
  const long before = CountOpenFiles();
  ReadTunables();
  EXPECT_EQ(CountOpenFiles(), before);
}

TEST(Compare, FindsTunablesThatChangeAppearOrDisappear) {
  const Tunables before = {{"core/same", "1"}, {"ipv4/changes", "1"}, {"ipv4/disappears", "2"}};
  const Tunables after = {{"core/same", "1"}, {"ipv4/appears", "3"}, {"ipv4/changes", "4"}};
  EXPECT_THAT(Shown(Compare(before, after)),
              ElementsAre("ipv4/appears:  -> 3", "ipv4/changes: 1 -> 4", "ipv4/disappears: 2 -> "));
}
