// The journal that kaehost apply --live and --netns keep of the original values, and sessions that
// meet the journal of another one. "The machine's own" tunables are those of the test's private
// namespace.

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/journal_folder.h"
#include "devhost/kaehost/kernel/scratch_files.h"
#include "devhost/kaehost/kernel/tunables.h"
#include "tests/devhost/support/json.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"
#include "tests/support/soon.h"

namespace fs = std::filesystem;

using devhost::Compare;
using devhost::ReadTunables;
using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr const char* kFinTimeout = "/proc/sys/net/ipv4/tcp_fin_timeout";

std::string Content(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

void LeaveTheNamespace() { unshare(CLONE_NEWNET); }

// Whether the process has the file or folder open.
bool HasOpen(pid_t process, const std::string& path) {
  std::error_code gone;
  const fs::directory_iterator descriptors("/proc/" + std::to_string(process) + "/fd", gone);
  return std::any_of(begin(descriptors), end(descriptors), [&](const auto& descriptor) {
    return fs::read_symlink(descriptor.path(), gone) == path;
  });
}

class SessionJournal : public testing::Test {
 protected:
  SessionJournal() {
    std::ofstream(kFinTimeout) << "37";
    devhost::MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
  }

  const PrivateRun run_;
  const TempFolder folder_;
  const std::string document_ = folder_.Write(
      "document.xml", "<tcp-settings><tcp_fin_timeout>20</tcp_fin_timeout></tcp-settings>");
  const std::string here_ = "/proc/" + std::to_string(getpid()) + "/ns/net";
  const std::string file_ = "/run/kaehost/" + devhost::JournalFolder::NameHere();
  const std::string kept_ = "kaehost: the journal " + file_ +
                            " keeps the original values; to restore them, run 'kaehost restore "
                            "--live'\n";
};

}  // namespace

TEST_F(SessionJournal, HasTheValuesFromBeforeThePlugInWasLoaded) {
  const Outcome run = Kaehost({"apply", "--live", "--verbose", document_, "--plugin",
                               TestPlugin("shows_journals"), "--", "cat", file_});
  EXPECT_EQ(run.status, 4) << run.err << "the plug-in writes nothing";
  EXPECT_THAT(
      run.out,
      AllOf(HasSubstr("when loaded: " + file_ + '\n'), HasSubstr("\nkaehost journal 1\nboot "),
            HasSubstr("\noption --live\n"), HasSubstr("\nipv4/tcp_fin_timeout 37\n")));
}

TEST_F(SessionJournal, IsDeletedWhenAllTunablesAreRestored) {
  for (const std::vector<std::string>& session :
       {std::vector<std::string>{"apply", "--live", document_, "--", "test", "-e", file_},
        {"apply", "--netns", here_, document_, "--", "test", "-e", file_}}) {
    const Outcome run = Kaehost(session, [&] {
      if (session[1] == "--netns") {
        LeaveTheNamespace();
      }
    });
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_FALSE(fs::exists(file_));
  }
}

TEST_F(SessionJournal, IsDeletedIfThePlugInDoesNotLoad) {
  const Outcome run = Kaehost({"apply", "--live", document_, "--plugin", TestPlugin("null_layer")});
  EXPECT_EQ(run.status, 3);
  EXPECT_TRUE(fs::exists("/run/kaehost"));
  EXPECT_FALSE(fs::exists(file_));
}

// Nobody can write the tunable any more: another file lies over it.
TEST_F(SessionJournal, StaysIfATunableIsNotRestored) {
  const Outcome run = Kaehost({"apply", "--live", "--quiet", document_, "--", "mount", "--bind",
                               "/proc/version", kFinTimeout});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, ContainsRegex("\nkaehost: layer released; not restored:\n[^\n]*\n"
                                     "  ipv4/tcp_fin_timeout +37 +Linux"));
  EXPECT_THAT(run.out, EndsWith(kept_));
  umount2(kFinTimeout, MNT_DETACH);
  EXPECT_THAT(Content(file_), HasSubstr("\nipv4/tcp_fin_timeout 37\n"));
  EXPECT_EQ(Kaehost({"restore", "--live"}).status, 0);
}

TEST_F(SessionJournal, ThatStaysIsInTheJson) {
  const std::vector<std::string> session = {"apply", "--live", "--json",        document_,  "--",
                                            "mount", "--bind", "/proc/version", kFinTimeout};
  const json left = Parsed(Kaehost(session).out);
  umount2(kFinTimeout, MNT_DETACH);
  EXPECT_EQ(left["journal_kept"], file_);
  EXPECT_EQ(left["not_restored"][0]["tunable"], "ipv4/tcp_fin_timeout");
  EXPECT_EQ(left["restored_by_kaehost"], json::array()) << "it could not";
  EXPECT_EQ(Kaehost({"restore", "--live"}).status, 0);
  const json all = Parsed(Kaehost({"apply", "--live", "--json", document_, "--", "true"}).out);
  EXPECT_EQ(all["journal_kept"], nullptr);
}

TEST_F(SessionJournal, ThatStaysIsReportedIfThePlugInDoesNotLoad) {
  setenv("MISBEHAVES", "InitPlugin hide the tunable", 1);
  const Outcome run = Kaehost({"apply", "--live", document_, "--plugin", TestPlugin("misbehaves")});
  umount2("/proc/sys/net/ipv4/tcp_sack", MNT_DETACH);
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.out, ContainsRegex("kaehost: kaehost restored 0 tunables\n"
                                     "kaehost: not restored:\n[^\n]*\n  ipv4/tcp_sack +1 +Linux"));
  EXPECT_THAT(run.err, StartsWith(kept_));
  EXPECT_EQ(Kaehost({"restore", "--live"}).status, 0);
}

TEST_F(SessionJournal, HasNoEmulatedTunables) {
  const Outcome run = Kaehost(
      {"apply", "--netns", here_, "--whole-catalogue", "--quiet", document_, "--", "cat", file_},
      [] {
        umount2("/proc/sys/net/core/rmem_max", MNT_DETACH);
        umount2("/proc/sys/net/core/wmem_max", MNT_DETACH);
        LeaveTheNamespace();
      });
  EXPECT_THAT(run.out,
              AllOf(HasSubstr("\noption --netns " + here_ + '\n'), HasSubstr("\nipv4/tcp_sack 1\n"),
                    Not(HasSubstr("\nipv4/tcp_bic ")), Not(HasSubstr("\ncore/rmem_max "))));
}

// Who restores may be in another folder.
TEST_F(SessionJournal, HasTheWholePathOfANamespace) {
  const fs::path folder = fs::path(here_).parent_path();
  const Outcome run = Kaehost({"apply", "--netns", "./net", document_, "--", "cat", file_}, [&] {
    fs::current_path(folder);
    LeaveTheNamespace();
  });
  EXPECT_THAT(run.out, HasSubstr("\noption --netns " + folder.string() + "/./net\n")) << run.err;
}

TEST_F(SessionJournal, IsReadAlsoIfTheFolderHasANewline) {
  const fs::path folder = folder_.Path("two\nlines");
  fs::create_directory(folder);
  const Outcome run =
      Kaehost({"apply", "--netns", "../../.." + here_, document_, "--", "cat", file_}, [&] {
        fs::current_path(folder);
        LeaveTheNamespace();
      });
  EXPECT_THAT(run.out, HasSubstr("\noption --netns ../../.." + here_ + '\n')) << run.err;
}

TEST_F(SessionJournal, HasNoNameOfTwoLines) {
  const Outcome run = Kaehost({"apply", "--netns", "my\nown", document_});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.err, StartsWith("kaehost: --netns: the name has a newline; name the network "
                                  "namespace by another path\n"));
}

TEST_F(SessionJournal, HasTheNameOfANamespaceAsItIs) {
  const std::string named = "/run/netns/blue";
  fs::create_directories("/run/netns");
  std::ofstream(named).close();
  ASSERT_EQ(mount(here_.c_str(), named.c_str(), nullptr, MS_BIND, nullptr), 0);
  const Outcome run =
      Kaehost({"apply", "--netns", "blue", document_, "--", "cat", file_}, LeaveTheNamespace);
  EXPECT_THAT(run.out, HasSubstr("\noption --netns blue\n")) << run.err;
  umount2(named.c_str(), MNT_DETACH);
}

TEST_F(SessionJournal, ThatStaysIsRestoredByTheCommandThatIsTold) {
  const std::string named = folder_.Write("my own", "");
  ASSERT_EQ(mount(here_.c_str(), named.c_str(), nullptr, MS_BIND, nullptr), 0);
  const Outcome run = Kaehost({"apply", "--netns", named, "--quiet", document_, "--", "mount",
                               "--bind", "/proc/version", kFinTimeout},
                              LeaveTheNamespace);
  EXPECT_THAT(run.out,
              EndsWith("run 'kaehost restore --netns " + folder_.Path("my\\ own") + "'\n"));
  umount2(kFinTimeout, MNT_DETACH);
  umount2(named.c_str(), MNT_DETACH);
}

TEST_F(SessionJournal, KeepsASecondSessionOut) {
  const auto before = ReadTunables();
  RunningKaehost first({"apply", "--live", document_});
  ASSERT_TRUE(first.HasSaid(kHolding));
  const auto held = ReadTunables();
  const std::string sentence = "kaehost: " + file_ + ": in use since 20[-0-9T:]*Z by the session " +
                               "of process " + std::to_string(first.pid()) +
                               "; one session at a time can change these tunables; end that one "
                               "first\n";
  const Outcome live = Kaehost({"apply", "--live", document_});
  EXPECT_EQ(live.status, 77);
  EXPECT_THAT(live.err, MatchesRegex(sentence));
  const Outcome netns = Kaehost({"apply", "--netns", here_, document_}, LeaveTheNamespace);
  EXPECT_EQ(netns.status, 77);
  EXPECT_THAT(netns.err, MatchesRegex(sentence));
  EXPECT_EQ(Kaehost({"restore", "--live"}).status, 77);
  EXPECT_EQ(
      Kaehost(
          {"apply", "--live", document_, "--", "true"},
          [] {
            LeaveTheNamespace();
            devhost::MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
          })
          .status,
      0)
      << "another namespace";
  EXPECT_THAT(Compare(held, ReadTunables()), IsEmpty());
  kill(first.pid(), SIGTERM);
  EXPECT_EQ(first.Finish().status, 0);
  EXPECT_THAT(Compare(before, ReadTunables()), IsEmpty());
  EXPECT_EQ(Kaehost({"apply", "--live", document_, "--", "true"}).status, 0);
}

TEST_F(SessionJournal, IsNeededOrRefusedBeforeAnythingIsWritten) {
  const auto read_only = [] { mount("tmpfs", "/run", "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr); };
  const Outcome refused = Kaehost(
      {"apply", "--live", "--verbose", document_, "--plugin", TestPlugin("changes_when_loaded")},
      read_only);
  EXPECT_EQ(refused.status, 77);
  EXPECT_THAT(refused.out, Not(HasSubstr("plug-in")));
  EXPECT_EQ(refused.err,
            "kaehost: /run/kaehost: cannot create this folder for the original values: Read-only "
            "file system; nothing was written to the tunables; make /run writable (mount -t tmpfs "
            "tmpfs /run), or go without a journal by --no-journal\n");
  const Outcome without = Kaehost({"apply", "--live", "--no-journal", document_, "--", "true"});
  EXPECT_EQ(without.status, 0) << without.out << without.err;
}

TEST_F(SessionJournal, IsNotKeptOnRequestOrInAPrivateNamespace) {
  for (const char* option : {"--live", "--quiet"}) {
    const Outcome run =
        Kaehost({"apply", option, "--no-journal", document_, "--", "test", "-e", "/run/kaehost"});
    EXPECT_EQ(run.status, 1) << run.out;
  }
  const Outcome run = Kaehost({"apply", document_, "--", "test", "-e", "/run/kaehost"});
  EXPECT_EQ(run.status, 1) << run.out;
}

TEST_F(SessionJournal, KeepsSessionsOutUntilItIsUsed) {
  RunningKaehost first({"apply", "--live", document_});
  ASSERT_TRUE(first.HasSaid(kHolding));
  devhost::JournalFolder::Open();
  fs::copy_file(file_, folder_.Path("journal"));
  kill(first.pid(), SIGTERM);
  first.Finish();
  const mode_t mask = umask(0077);
  fs::copy_file(folder_.Path("journal"), file_);
  umask(mask);
  std::ofstream(kFinTimeout) << "41";
  const Outcome run = Kaehost({"apply", "--live", document_});
  EXPECT_EQ(run.status, 77);
  EXPECT_THAT(run.err, HasSubstr("ended without restoring these tunables; run 'kaehost restore "
                                 "--live' first\n"));
  EXPECT_EQ(Content(kFinTimeout), "41\n");
  EXPECT_EQ(Kaehost({"restore", "--live"}).status, 0);
  EXPECT_EQ(Content(kFinTimeout), "37\n");
  EXPECT_EQ(Kaehost({"apply", "--live", document_, "--", "true"}).status, 0);
}

// kaehost alone is killed: the process of the plug-in restores, and cannot delete the journal.
TEST_F(SessionJournal, KeepsNobodyOutIfNothingDiffers) {
  RunningKaehost first({"apply", "--live", document_});
  ASSERT_TRUE(first.HasSaid(kHolding));
  kill(first.pid(), SIGKILL);
  first.Finish();
  const std::vector<std::string> again = {"apply", "--live", document_, "--", "true"};
  Outcome run;
  EXPECT_TRUE(Soon([&] {
    run = Kaehost(again);
    return run.status != 77;
  }));
  EXPECT_EQ(run.status, 0) << run.out << run.err;
  EXPECT_THAT(run.out, HasSubstr("\nkaehost: " + file_ + ": the session of process " +
                                 std::to_string(first.pid()) + ", started "));
  EXPECT_THAT(run.out, HasSubstr("Z, was killed, but no tunable differs; journal deleted\n"));
  EXPECT_EQ(Content(kFinTimeout), "37\n");
  EXPECT_FALSE(fs::exists(file_));
}

// Otherwise a session that begins while another one ends would take its values for the original
// ones.
TEST_F(SessionJournal, HasTheValuesAfterTheEndOfAFormerSession) {
  devhost::JournalFolder::OpenOrCreate();
  std::optional<devhost::JournalFolder> folder = devhost::JournalFolder::Open();
  std::ofstream(kFinTimeout) << "20";
  RunningKaehost session({"apply", "--live", document_, "--", "true"});
  ASSERT_TRUE(Soon([&session] { return HasOpen(session.pid(), "/run/kaehost"); }));
  usleep(100'000);
  std::ofstream(kFinTimeout) << "37";
  folder.reset();
  EXPECT_EQ(session.Finish().status, 0);
  EXPECT_EQ(Content(kFinTimeout), "37\n");
}
