// Sessions on the machine's own tunables (here those of the test's private namespace) whose
// processes are killed at random moments, beside a second session: kaehost restore restores all.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/journal_folder.h"
#include "devhost/kaehost/kernel/scratch_files.h"
#include "devhost/kaehost/kernel/tunables.h"
#include "tests/devhost/support/effort.h"
#include "tests/devhost/support/named_networks.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"
#include "tests/support/soon.h"

namespace {

using devhost::Compare;
using devhost::ReadTunables;

std::vector<pid_t> ChildrenOf(pid_t process) {
  const std::string id = std::to_string(process);
  std::ifstream file("/proc/" + id + "/task/" + id + "/children");
  std::vector<pid_t> children;
  for (pid_t child = 0; file >> child;) {
    children.push_back(child);
  }
  return children;
}

// The processes of the session to kill: itself, those that it started, or all.
std::vector<pid_t> Victims(pid_t session, unsigned choice) {
  std::vector<pid_t> victims = ChildrenOf(session);
  if (choice == 0) {
    victims = {session};
  } else if (choice == 1) {
    victims.push_back(session);
  } else if (choice == 2) {
    victims.insert(victims.begin(), session);
  }
  return victims;
}

// What a session leaves behind can still restore the tunables by itself: waits for its end.
int RestoreAfterTheEnd(const std::vector<std::string>& target) {
  std::vector<std::string> words = {"restore", "--quiet"};
  words.insert(words.end(), target.begin(), target.end());
  int status = -1;
  Soon([&] {
    constexpr int kInUse = 77;
    status = Kaehost(words).status;
    return status != kInUse;
  });
  return status;
}

bool HasJournals() {
  const auto folder = devhost::JournalFolder::Open();
  return folder && !folder->Names().empty();
}

// A session lasts longer with a busy processor, or with sanitizers.
unsigned long MicrosecondsOfASession(const std::string& document) {
  const auto begin = std::chrono::steady_clock::now();
  Kaehost({"apply", "--live", "--quiet", document, "--", "true"});
  const auto time = std::chrono::steady_clock::now() - begin;
  return static_cast<unsigned long>(
      std::chrono::duration_cast<std::chrono::microseconds>(time).count());
}

std::string Shown(const std::vector<devhost::Change>& changes) {
  std::string text;
  for (const devhost::Change& change : changes) {
    text += change.tunable + ": " + change.before + " -> " + change.after + '\n';
  }
  return text;
}

}  // namespace

TEST(KilledSessions, LeaveNothingThatCannotBeRestored) {
  const PrivateRun run;
  devhost::MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
  const TempFolder folder;
  const std::string document =
      folder.Write("a.xml",
                   "<tcp-settings><tcp_fin_timeout>20</tcp_fin_timeout><tcp_sack>0</tcp_sack>"
                   "<tcp_rmem_max>300000</tcp_rmem_max></tcp-settings>");
  const auto before = ReadTunables();
  const auto whole = MicrosecondsOfASession(document);
  std::mt19937 random(std::random_device{}());
  int left = 0;
  int changed = 0;
  int refused = 0;
  for (int i = 0; i < kKills; ++i) {
    RunningKaehost session({"apply", "--live", "--quiet", document});
    const bool has_second = random() % 4 == 0;
    std::optional<RunningKaehost> second;
    if (has_second) {
      second.emplace(
          std::vector<std::string>{"apply", "--live", "--quiet", document, "--", "true"});
    }
    usleep(static_cast<useconds_t>(random() % whole));
    for (const pid_t victim : Victims(session.pid(), random() % 4)) {
      kill(victim, SIGKILL);
    }
    kill(session.pid(), SIGTERM);
    session.Finish();
    if (second) {
      const int status = second->Finish().status;
      refused += status == 77 ? 1 : 0;
      ASSERT_TRUE(status == 0 || status == 77 || status == 1) << status;
    }
    left += HasJournals() ? 1 : 0;
    changed += Compare(before, ReadTunables()).empty() ? 0 : 1;
    ASSERT_EQ(RestoreAfterTheEnd({"--live"}), 0) << i;
    ASSERT_EQ(Shown(Compare(before, ReadTunables())), "") << i;
    ASSERT_FALSE(HasJournals()) << i;
  }
  RecordProperty("journals_left", left);
  RecordProperty("tunables_changed", changed);
  RecordProperty("second_sessions_refused", refused);
  std::printf(
      "%d sessions killed: %d left a journal, %d left tunables changed; %d second sessions "
      "refused\n",
      kKills, left, changed, refused);
  EXPECT_GT(left, 0);
}

TEST(KilledSessions, InSeveralNamespacesLeaveNothingThatCannotBeRestored) {
  const PrivateRun run;
  const std::vector<std::string> names = {"blue", "green", "red"};
  const NamedNetworks networks(names);
  const TempFolder folder;
  const std::string document =
      folder.Write("a.xml", "<tcp-settings><tcp_fin_timeout>20</tcp_fin_timeout></tcp-settings>");
  std::vector<std::string> words = networks.Options({"--hold", "--quiet", document});
  words.insert(words.begin(), "apply");
  const auto before = networks.Read();
  const auto whole = MicrosecondsOfASession(document);
  std::mt19937 random(std::random_device{}());
  int left = 0;
  for (int i = 0; i < std::min(kKills, 200); ++i) {
    RunningKaehost session(words);
    usleep(static_cast<useconds_t>(random() % (2 * whole)));
    for (const pid_t victim : Victims(session.pid(), random() % 4)) {
      kill(victim, SIGKILL);
    }
    kill(session.pid(), SIGTERM);
    session.Finish();
    left += HasJournals() ? 1 : 0;
    for (const std::string& name : names) {
      ASSERT_EQ(RestoreAfterTheEnd({"--netns", name}), 0) << i;
    }
    ASSERT_EQ(Shown(Compare(before, networks.Read())), "") << i;
    ASSERT_FALSE(HasJournals()) << i;
  }
  EXPECT_GT(left, 0);
}
