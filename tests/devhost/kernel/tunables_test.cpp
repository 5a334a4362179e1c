// The catalogue's files as kaehost reads and compares them.

#include "devhost/kaehost/kernel/tunables.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/tunable_tree.h"

using devhost::Change;
using devhost::Compare;
using devhost::FindUnread;
using devhost::ReadTunables;
using devhost::StartFrom;
using devhost::Tunables;
using devhost::Unread;
using testing::_;
using testing::Each;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

std::vector<std::string> Shown(const std::vector<Change>& changes) {
  std::vector<std::string> texts;
  for (const Change& change : changes) {
    texts.push_back(change.tunable + ": " + change.before + " -> " + change.after);
  }
  return texts;
}

std::vector<std::string> Shown(const std::vector<Unread>& unread) {
  std::vector<std::string> texts;
  for (const Unread& u : unread) {
    texts.push_back(u.tunable + ": " + std::strerror(u.error) + (u.is_refused ? ", refused" : ""));
  }
  return texts;
}

long CountOpenFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

// Leaves this process so many descriptors during its lifetime.
class FewDescriptors {
 public:
  explicit FewDescriptors(rlim_t left) {
    getrlimit(RLIMIT_NOFILE, &before_);
    const int next = dup(STDERR_FILENO);
    close(next);
    const rlimit limit = {static_cast<rlim_t>(next) + left, before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &limit);
  }
  ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
  FewDescriptors(const FewDescriptors&) = delete;
  FewDescriptors& operator=(const FewDescriptors&) = delete;

 private:
  rlimit before_ = {};
};

}  // namespace

TEST(ReadTunables, ReadsALongTextWhole) {
  TunableTree tree;
  for (const std::size_t size : {4095U, 4096U, 4097U, 10000U}) {
    const std::string text(size, 'x');
    tree.Write("ipv4/tcp_sack", text + '\n');
    EXPECT_THAT(ReadTunables(), ElementsAre(Pair("ipv4/tcp_sack", FieldsAre(text, 0))));
  }
}

TEST(ReadTunables, LeavesOutTheLastNewlineOnly) {
  TunableTree tree;
  tree.Write("ipv4/tcp_sack", "1\n\n");
  EXPECT_THAT(ReadTunables(), ElementsAre(Pair("ipv4/tcp_sack", FieldsAre("1\n", 0))));
}

TEST(ReadTunables, HasTheErrorForAFileThatCannotBeRead) {
  TunableTree tree;
  tree.MakeLoop("ipv4/tcp_ecn");
  tree.MakeFolder("ipv4/tcp_fack");
  tree.MakeMissing("ipv4/tcp_frto");
  EXPECT_THAT(ReadTunables(), ElementsAre(Pair("ipv4/tcp_ecn", FieldsAre("", ELOOP)),
                                          Pair("ipv4/tcp_fack", FieldsAre("", EISDIR))));
}

TEST(ReadTunables, HasTheErrorForEachFileIfItCannotOpenOne) {
  for (const rlim_t left : {0U, 1U}) {  // for the folder, for a file in it
    const FewDescriptors few(left);
    const Tunables tunables = ReadTunables();
    EXPECT_EQ(tunables.size(), 50U) << left;
    EXPECT_THAT(tunables, Each(Pair(_, FieldsAre("", EMFILE)))) << left;
  }
}

TEST(ReadTunables, ClosesWhatItOpens) {
  ReadTunables();
  const long before = CountOpenFiles();
  ReadTunables();
  EXPECT_EQ(CountOpenFiles(), before);
}

TEST(Compare, FindsTunablesThatChangeAppearOrDisappear) {
  const Tunables before = {
      {"core/same", {"1"}}, {"ipv4/changes", {"1"}}, {"ipv4/disappears", {"2"}}};
  const Tunables after = {{"core/same", {"1"}}, {"ipv4/appears", {"3"}}, {"ipv4/changes", {"4"}}};
  EXPECT_THAT(Shown(Compare(before, after)),
              ElementsAre("ipv4/appears:  -> 3", "ipv4/changes: 1 -> 4", "ipv4/disappears: 2 -> "));
}

TEST(Compare, LeavesOutWhiteSpaceBetweenValues) {
  const Tunables before = {{"ipv4/a", {"1\t2\t3"}}, {"ipv4/b", {"1\t2\t3"}}, {"ipv4/c", {"1"}}};
  const Tunables after = {{"ipv4/a", {"1 2 3"}}, {"ipv4/b", {"1 23"}}, {"ipv4/c", {"1 2"}}};
  EXPECT_THAT(Shown(Compare(before, after)),
              ElementsAre("ipv4/b: 1\t2\t3 -> 1 23", "ipv4/c: 1 -> 1 2"));
}

TEST(Compare, LeavesOutWhatWasNotReadTwice) {
  const Tunables before = {{"ipv4/a", {"1"}}, {"ipv4/b", {"", EMFILE}}};
  const Tunables after = {{"ipv4/a", {"", EMFILE}}, {"ipv4/b", {"1"}}, {"ipv4/c", {"", EIO}}};
  EXPECT_THAT(Shown(Compare(before, after)), IsEmpty());
}

TEST(FindUnread, FindsWhatWasNotReadTwice) {
  const Tunables before = {{"ipv4/a", {"1"}},        {"ipv4/b", {"", EMFILE}},
                           {"ipv4/c", {"", EACCES}}, {"ipv4/d", {"", EPERM}},
                           {"ipv4/e", {"", EACCES}}, {"ipv4/f", {"1"}}};
  const Tunables after = {{"ipv4/a", {"", EMFILE}}, {"ipv4/b", {"1"}}, {"ipv4/c", {"", EACCES}},
                          {"ipv4/d", {"", EIO}},    {"ipv4/e", {"1"}}, {"ipv4/f", {"2"}},
                          {"ipv4/g", {"", EACCES}}};
  EXPECT_THAT(Shown(FindUnread(before, after)),
              ElementsAre("ipv4/a: Too many open files", "ipv4/b: Too many open files",
                          "ipv4/c: Permission denied, refused", "ipv4/d: Input/output error",
                          "ipv4/e: Permission denied", "ipv4/g: Permission denied, refused"));
}

std::vector<std::string> Started(const Tunables& machine) {
  Tunables here = ReadTunables();
  std::vector<std::string> differ = StartFrom(machine, here);
  EXPECT_EQ(here, ReadTunables());
  return differ;
}

TEST(StartFrom, WritesWhatDiffers) {
  TunableTree tree;
  tree.Write("ipv4/tcp_sack", "1\n");
  tree.Write("ipv4/tcp_rmem", "1\t2\t3\n");
  tree.Write("ipv4/tcp_ecn", "2\n");
  const Tunables machine = {
      {"ipv4/tcp_rmem", {"4\t5\t6"}}, {"ipv4/tcp_sack", {"0"}}, {"ipv4/tcp_mem", {"7"}}};
  EXPECT_THAT(Started(machine), IsEmpty());
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "0\n");
  EXPECT_EQ(tree.Read("ipv4/tcp_rmem"), "4\t5\t6\n");
  EXPECT_EQ(tree.Read("ipv4/tcp_ecn"), "2\n");
  EXPECT_FALSE(std::filesystem::exists(TunableTree::Path("ipv4/tcp_mem")));
}

TEST(StartFrom, FindsWhatKeepsItsOwnValue) {
  TunableTree tree;
  tree.Write("ipv4/tcp_sack", "1\n");
  tree.MakeFull("ipv4/tcp_ecn");
  tree.Write("ipv4/tcp_frto", "2\n");
  tree.LinkReadOnly("ipv4/tcp_frto");
  const Tunables machine = {{"ipv4/tcp_sack", {"", EMFILE}},
                            {"ipv4/tcp_frto", {"0"}},
                            {"ipv4/ip_local_port_range", {"1"}},
                            {"ipv4/tcp_ecn", {"0"}}};
  EXPECT_THAT(Started(machine), ElementsAre("ipv4/tcp_ecn", "ipv4/tcp_sack"));
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "1\n");
}

TEST(StartFrom, DoesNotCallItADifferenceThatNobodyCanRead) {
  TunableTree tree;
  std::filesystem::create_directory(TunableTree::Path("ipv4/tcp_ecn"));
  EXPECT_THAT(Started({{"ipv4/tcp_ecn", {"", EISDIR}}}), IsEmpty());
}

TEST(StartFrom, LeavesNoFilesOpen) {
  const Tunables machine = {{"ipv4/tcp_sack", {"0"}}, {"ipv4/tcp_ecn", {"x"}}};
  const long before = CountOpenFiles();
  EXPECT_THAT(Started(machine), ElementsAre("ipv4/tcp_ecn"));
  EXPECT_EQ(CountOpenFiles(), before);
  EXPECT_THAT(Started({{"ipv4/tcp_sack", {"1"}}}), IsEmpty());
}
