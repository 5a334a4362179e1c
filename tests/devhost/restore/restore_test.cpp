// kaehost restore: the journals that sessions left, and the tunables that it restores from them.
// "The machine's own" tunables are those of the test's private namespace.

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/journal_folder.h"
#include "tests/devhost/support/json.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"

namespace fs = std::filesystem;

using devhost::Journal;
using devhost::JournalFile;
using devhost::JournalFolder;
using devhost::NewJournal;
using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

constexpr const char* kFinTimeout = "/proc/sys/net/ipv4/tcp_fin_timeout";
constexpr const char* kSession =
    ": the session of process [0-9]+, started 20[-0-9T:]*Z \\([0-9]+ seconds? ago\\), ended "
    "without restoring\n";

std::string Content(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

JournalFile BeginJournal(const std::string& option, const devhost::Tunables& before) {
  return JournalFolder::OpenOrCreate().Write(option, before);
}

// For kaehost: another network namespace than the test's.
void LeaveTheNamespace() { unshare(CLONE_NEWNET); }

class Restore : public testing::Test {
 protected:
  Restore() { Write("37"); }

  static void Write(const std::string& value) { std::ofstream(kFinTimeout) << value; }

  // The journal of a session that changed a tunable and was killed.
  void LeaveJournal(const std::string& option = "--live") {
    BeginJournal(option, {{"ipv4/tcp_fin_timeout", {"37"}}, {"ipv4/tcp_sack", {"1"}}});
    Write("20");
  }

  // The same with another journal.
  void LeaveJournal(const Journal& journal) {
    LeaveJournal();
    std::ofstream(file_) << TextOf(journal);
  }

  static void NameTheNamespace(const std::string& name) {
    fs::create_directory("/run/netns");
    std::ofstream(fs::path("/run/netns") / name).close();
    ASSERT_EQ(mount("/proc/self/ns/net", ("/run/netns/" + name).c_str(), nullptr, MS_BIND, nullptr),
              0);
  }

  void ExpectNothingTouched(const std::string& text) const {
    EXPECT_EQ(Content(kFinTimeout), "20\n");
    EXPECT_EQ(Content(file_), text);
  }

  const PrivateRun run_;
  const std::string here_ = "/proc/" + std::to_string(getpid()) + "/ns/net";
  const std::string file_ = "/run/kaehost/" + JournalFolder::NameHere();
};

using ListJournals = Restore;

}  // namespace

TEST_F(ListJournals, ShowsThatThereIsNone) {
  for (int i = 0; i < 2; ++i) {
    const Outcome run = Kaehost({"restore"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "kaehost: no journals; nothing to restore\n");
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(fs::exists("/run/kaehost"), i == 1) << "a list creates nothing";
    EXPECT_EQ(Kaehost({"restore", "--quiet"}).out, "");
    JournalFolder::OpenOrCreate();
  }
}

TEST_F(ListJournals, ShowsWhatDiffersAndHowToRestore) {
  LeaveJournal();
  for (const auto& options : {std::vector<std::string>{"restore"}, {"restore", "--quiet"}}) {
    const Outcome run = Kaehost(options);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, MatchesRegex("kaehost: " + file_ + kSession +
                                      "  tunable +before  now\n"
                                      "  ipv4/tcp_fin_timeout  37      20\n"
                                      "kaehost: to restore, run 'kaehost restore --live'\n"));
    EXPECT_EQ(run.err, "");
  }
  ExpectNothingTouched(Content(file_));
}

TEST_F(ListJournals, ShowsThatNothingDiffers) {
  LeaveJournal();
  Write("37");
  const Outcome run = Kaehost({"restore"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, MatchesRegex("kaehost: " + file_ + kSession +
                                    "kaehost: no tunable differs; to delete the journal, run "
                                    "'kaehost restore --live'\n"));
}

TEST_F(ListJournals, FindsANamespaceByItsName) {
  LeaveJournal();
  NameTheNamespace("blue");
  const Outcome run = Kaehost({"restore"}, LeaveTheNamespace);
  EXPECT_THAT(run.out, ContainsRegex("\n  ipv4/tcp_fin_timeout  37      20\n"
                                     "kaehost: to restore, run 'kaehost restore --netns blue'\n$"));
}

TEST_F(ListJournals, ShowsANameAsAShellNeedsIt) {
  LeaveJournal();
  NameTheNamespace("my own; $HOME");
  const Outcome run = Kaehost({"restore"}, LeaveTheNamespace);
  EXPECT_THAT(run.out, HasSubstr("run 'kaehost restore --netns my\\ own\\;\\ \\$HOME'\n"));
}

TEST_F(ListJournals, FindsANamespaceByThePathOfTheSession) {
  LeaveJournal("--netns " + here_);
  const Outcome run = Kaehost({"restore"}, LeaveTheNamespace);
  EXPECT_THAT(run.out, ContainsRegex("\n  ipv4/tcp_fin_timeout  37      20\n"
                                     "kaehost: to restore, run 'kaehost restore --netns " +
                                     here_ + "'\n$"));
}

TEST_F(ListJournals, ShowsThatItCannotFindTheNamespace) {
  LeaveJournal("--netns no-such-name");
  const Outcome run = Kaehost({"restore"}, LeaveTheNamespace);
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, MatchesRegex("kaehost: " + file_ + kSession +
                                    "kaehost: cannot find the network namespace of this session, "
                                    "which had --netns no-such-name: run 'kaehost restore --netns "
                                    "PATH'; if it does not exist any more, delete the file\n"));
}

TEST_F(ListJournals, ComparesEachInItsOwnNamespace) {
  LeaveJournal("--netns " + here_);
  const Outcome run = Kaehost({"restore"}, [] {
    LeaveTheNamespace();
    BeginJournal("--live", {{"ipv4/tcp_fin_timeout", {"60"}}});
    Write("50");
  });
  EXPECT_THAT(run.out, HasSubstr("  37      20\n"));
  EXPECT_THAT(run.out, HasSubstr("  60      50\n"));
}

TEST_F(ListJournals, CountsASessionThatRunsAsWell) {
  const JournalFile journal = BeginJournal("--live", {{"ipv4/tcp_sack", {"1"}}});
  const Outcome run = Kaehost({"restore"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, MatchesRegex("kaehost: " + file_ + ": in use since .*\n"));
  EXPECT_EQ(Kaehost({"restore", "--quiet"}).out, "");
}

TEST_F(ListJournals, ShowsThoseThatCannotBeUsed) {
  LeaveJournal();
  const std::string damaged = Content(file_) + "x";
  std::ofstream(file_) << damaged;
  const Outcome run = Kaehost({"restore", "--quiet"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, testing::StartsWith("kaehost: " + file_ + ": damaged or incomplete; "));
  ExpectNothingTouched(damaged);
}

TEST_F(ListJournals, ShowsDurationsInTheirLargestUnit) {
  const auto age = [this](long long seconds) {
    Journal journal = NewJournal("--live", {});
    journal.uptime -= seconds;
    fs::remove(file_);
    LeaveJournal(journal);
    const std::string out = Kaehost({"restore"}).out;
    const std::size_t begin = out.find('(') + 1;
    return out.substr(begin, out.find(" ago)") - begin);
  };
  EXPECT_EQ(age(61), "1 minute");
  EXPECT_EQ(age(3599 - 30), "59 minutes");
  EXPECT_EQ(age(3600), "1 hour");
  EXPECT_EQ(age(86400 - 60), "23 hours");
  EXPECT_EQ(age(3 * 86400LL), "3 days");
  EXPECT_EQ(age(-5), "0 seconds");
}

TEST_F(ListJournals, IsForRoot) {
  LeaveJournal();
  chmod("/run/kaehost", 0);
  const Outcome run = Kaehost({"restore"}, BecomeOrdinaryUser);
  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.err,
            "kaehost: /run/kaehost: cannot open this folder: Permission denied; run as root\n");
}

TEST_F(Restore, WritesWhatDiffersAndDeletesTheJournal) {
  LeaveJournal();
  const Outcome run = Kaehost({"restore", "--live"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, MatchesRegex("kaehost: " + file_ + kSession +
                                    "  tunable +before  now\n"
                                    "  ipv4/tcp_fin_timeout  37      20\n"
                                    "kaehost: all tunables restored; journal deleted\n"));
  EXPECT_EQ(Content(kFinTimeout), "37\n");
  EXPECT_FALSE(fs::exists(file_));
  EXPECT_EQ(Kaehost({"restore", "--live"}).out,
            "kaehost: no journal of this network namespace; nothing to restore\n");
}

TEST_F(Restore, IsQuietIfAllIsWell) {
  LeaveJournal();
  EXPECT_EQ(Kaehost({"restore", "--live", "--quiet"}).out, "");
  EXPECT_EQ(Content(kFinTimeout), "37\n");
  EXPECT_EQ(Kaehost({"restore", "--live", "--quiet"}).out, "");
}

TEST_F(Restore, DeletesAJournalFromWhichNothingDiffers) {
  LeaveJournal();
  Write("37");
  EXPECT_THAT(Kaehost({"restore", "--live"}).out,
              HasSubstr("\nkaehost: no tunable differed; journal deleted\n"));
  EXPECT_FALSE(fs::exists(file_));
}

TEST_F(Restore, WorksInANamedNamespace) {
  LeaveJournal();
  NameTheNamespace("blue");
  const Outcome run = Kaehost({"restore", "--netns", "blue"}, LeaveTheNamespace);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(Content(kFinTimeout), "37\n");
  EXPECT_FALSE(fs::exists(file_));
}

TEST_F(Restore, KeepsTheJournalIfATunableIsNotRestored) {
  LeaveJournal();
  for (const auto& options :
       {std::vector<std::string>{"restore", "--live"}, {"restore", "--live", "--quiet"}}) {
    const Outcome run = Kaehost(options, [] { MountReadOnly(kFinTimeout); });
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, testing::EndsWith("kaehost: not restored:\n"
                                           "  tunable               before  now\n"
                                           "  ipv4/tcp_fin_timeout  37      20\n"
                                           "kaehost: the journal " +
                                           file_ + " is kept\n"));
    EXPECT_TRUE(fs::exists(file_));
  }
}

// One of them is not in the journal.
TEST_F(Restore, KeepsTheJournalIfATunableCannotBeRead) {
  LeaveJournal();
  const Outcome run = Kaehost({"restore", "--live"}, [] {
    unshare(CLONE_NEWNS);
    for (const std::string name : {"tcp_fin_timeout", "tcp_sack", "tcp_timestamps"}) {
      mount("/proc/self/mem", ("/proc/sys/net/ipv4/" + name).c_str(), nullptr, MS_BIND, nullptr);
    }
  });
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out,
              HasSubstr("kaehost: not restored:\n"
                        "  tunable               before  now\n"
                        "  ipv4/tcp_fin_timeout  37      cannot be read: Input/output error\n"
                        "  ipv4/tcp_sack         1       cannot be read: Input/output error\n"
                        "kaehost: the journal "));
  EXPECT_TRUE(fs::exists(file_));
}

TEST_F(Restore, LeavesASessionAlone) {
  const JournalFile journal = BeginJournal("--live", {{"ipv4/tcp_fin_timeout", {"37"}}});
  Write("20");
  const Outcome run = Kaehost({"restore", "--live"});
  EXPECT_EQ(run.status, 77);
  EXPECT_THAT(run.err, MatchesRegex("kaehost: " + file_ + ": in use since .*\n"));
  ExpectNothingTouched(TextOf(journal.journal()));
}

TEST_F(Restore, RefusesADamagedJournal) {
  LeaveJournal();
  const std::string text = Content(file_);
  for (const std::string& damaged : {text.substr(0, text.size() / 2), text + "\n"}) {
    std::ofstream(file_) << damaged;
    const Outcome run = Kaehost({"restore", "--live"});
    EXPECT_EQ(run.status, 77);
    EXPECT_THAT(run.err, HasSubstr(": damaged or incomplete; "));
    ExpectNothingTouched(damaged);
  }
}

TEST_F(Restore, RefusesAJournalOfAnotherNamespaceOrBoot) {
  Journal other = NewJournal("--live", {{"ipv4/tcp_fin_timeout", {"37"}}});
  other.cookie += '0';
  LeaveJournal(other);
  Outcome run = Kaehost({"restore", "--live"});
  EXPECT_EQ(run.status, 77);
  EXPECT_THAT(run.err, HasSubstr(": the journal of another network namespace, "));
  EXPECT_THAT(Kaehost({"restore"}).out, HasSubstr(": the journal of another network namespace, "));
  ExpectNothingTouched(TextOf(other));
  fs::remove(file_);
  other = NewJournal("--live", {{"ipv4/tcp_fin_timeout", {"37"}}});
  other.boot += '0';
  LeaveJournal(other);
  run = Kaehost({"restore", "--live"});
  EXPECT_EQ(run.status, 77);
  EXPECT_THAT(run.err, HasSubstr(": a journal from before the last boot "));
  ExpectNothingTouched(TextOf(other));
}

TEST_F(Restore, RefusesTheMachinesOwnNamespaceByPath) {
  LeaveJournal();
  const Outcome run = Kaehost({"restore", "--netns", here_});
  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.err, "kaehost: " + here_ +
                         ": this network namespace is the machine's own, in which kaehost was "
                         "started; use --live to change its tunables\n");
  ExpectNothingTouched(Content(file_));
}

TEST_F(Restore, NeedsANameAndOneNamespace) {
  EXPECT_EQ(Kaehost({"restore", "--netns", ""}).err,
            "kaehost: --netns: the name is empty; name a network namespace\nTry 'kaehost restore "
            "--help' for more information.\n");
  EXPECT_EQ(Kaehost({"restore", "--netns", "blue", "--live"}).status, 2);
  EXPECT_EQ(Kaehost({"restore", "--json", "--quiet"}).status, 2);
}

TEST_F(Restore, ShowsAllAsJson) {
  EXPECT_EQ(Parsed(Kaehost({"restore", "--json"}).out),
            Parsed(R"({"error": null, "journals": [], "restored": null, "not_restored": [],
                            "status": 0})"));
  LeaveJournal();
  json told = Parsed(Kaehost({"restore", "--json"}).out);
  EXPECT_EQ(told["status"], 1);
  EXPECT_EQ(told["restored"], nullptr);
  json journal = told["journals"][0];
  EXPECT_LE(journal["age_s"], 60);
  EXPECT_THAT(journal["started"], MatchesRegex("20.*Z"));
  journal.erase("age_s");
  journal.erase("started");
  const json differs =
      Parsed(R"([{"tunable": "ipv4/tcp_fin_timeout", "before": "37", "now": "20"}])");
  EXPECT_EQ(journal, json({{"file", file_},
                           {"state", "left"},
                           {"sentence", nullptr},
                           {"process", getpid()},
                           {"option", "--live"},
                           {"differs", differs}}));
  const Outcome failed =
      Kaehost({"restore", "--live", "--json"}, [] { MountReadOnly(kFinTimeout); });
  told = Parsed(failed.out);
  EXPECT_EQ(told["restored"], false);
  EXPECT_EQ(told["not_restored"], differs);
  EXPECT_EQ(told["status"], failed.status);
  told = Parsed(Kaehost({"restore", "--live", "--json"}).out);
  EXPECT_EQ(told["restored"], true);
  EXPECT_EQ(told["journals"][0]["differs"], differs);
  EXPECT_EQ(told["not_restored"], json::array());
  EXPECT_EQ(told["status"], 0);
}

TEST_F(Restore, ShowsJournalsThatCannotBeUsedAsJson) {
  {
    const JournalFile journal = BeginJournal("--live", {});
    const json told = Parsed(Kaehost({"restore", "--json"}).out)["journals"][0];
    EXPECT_EQ(told["state"], "in use");
    EXPECT_THAT(told["sentence"], HasSubstr(": in use since "));
    EXPECT_EQ(told["process"], nullptr);
    EXPECT_EQ(told["option"], nullptr);
    const Outcome run = Kaehost({"restore", "--live", "--json"});
    EXPECT_EQ(run.status, 77);
    EXPECT_EQ(Parsed(run.out), json({{"error", told["sentence"]}, {"status", 77}}));
  }
  std::ofstream(file_) << "x";
  EXPECT_EQ(Parsed(Kaehost({"restore", "--json"}).out)["journals"][0]["state"], "refused");
}
