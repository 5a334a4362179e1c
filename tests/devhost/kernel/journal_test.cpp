// The journal of a session: its text, and what identifies the namespace that it is of.

#include "devhost/kaehost/kernel/journal.h"

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>

#include "devhost/kaehost/kernel/namespaces.h"

using devhost::Journal;
using devhost::NamespaceError;
using devhost::NewJournal;
using devhost::ParseJournal;
using devhost::RefuseEarlierBoot;
using devhost::RefuseOtherNamespace;
using devhost::TextOf;
using testing::MatchesRegex;
using testing::StartsWith;
using testing::ThrowsMessage;

namespace {

Journal Sample() {
  return {.boot = "6ffa9b7d",
          .network = "4:4026531840",
          .cookie = "12",
          .option = "--netns /run/a b",
          .process = 1234,
          .started = "2026-11-22T02:10:11Z",
          .uptime = 5021,
          .tunables = {{"core/rmem_max", {"212992"}},
                       {"ipv4/tcp_rmem", {"4096\t131072\t6291456"}},
                       {"ipv4/tcp_sack", {""}}}};
}

constexpr const char* kWithoutSum =
    "kaehost journal 1\nboot 6ffa9b7d\nnamespace 4:4026531840\ncookie 12\n"
    "option --netns /run/a b\nprocess 1234\nstarted 2026-11-22T02:10:11Z\nuptime 5021\n"
    "core/rmem_max 212992\nipv4/tcp_rmem 4096\t131072\t6291456\nipv4/tcp_sack \nend ";

bool IsRefused(const std::string& text) {
  try {
    ParseJournal(text);
    return false;
  } catch (const std::runtime_error&) {
    return true;
  }
}

std::string CookieOfNewNamespace() {
  if (unshare(CLONE_NEWNET) != 0) {
    throw NamespaceError("cannot create a network namespace");
  }
  return NewJournal("--live", {}).cookie;
}

bool HasCookies() {
  utsname kernel = {};
  uname(&kernel);
  int major = 0;
  int minor = 0;
  return std::sscanf(kernel.release, "%d.%d", &major, &minor) == 2 &&
         (major > 5 || (major == 5 && minor >= 14));
}

}  // namespace

TEST(Journal, IsALineForEachFact) {
  const std::string text = TextOf(Sample());
  EXPECT_THAT(text, StartsWith(kWithoutSum));
  EXPECT_THAT(text.substr(std::string(kWithoutSum).size()),
              testing::ContainsRegex("^[0-9a-f][0-9a-f]*\n$"));
  EXPECT_EQ(text.size(), std::string(kWithoutSum).size() + 17);
}

TEST(Journal, IsReadBackWhole) {
  const Journal journal = ParseJournal(TextOf(Sample()));
  EXPECT_EQ(journal.boot, "6ffa9b7d");
  EXPECT_EQ(journal.network, "4:4026531840");
  EXPECT_EQ(journal.cookie, "12");
  EXPECT_EQ(journal.option, "--netns /run/a b");
  EXPECT_EQ(journal.process, 1234);
  EXPECT_EQ(journal.started, "2026-11-22T02:10:11Z");
  EXPECT_EQ(journal.uptime, 5021);
  EXPECT_EQ(journal.tunables, Sample().tunables);
}

TEST(Journal, IsRefusedIfAnyByteIsAnother) {
  const std::string text = TextOf(Sample());
  for (std::size_t i = 0; i < text.size(); ++i) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string damaged = text;
      damaged[i] = static_cast<char>(byte);
      ASSERT_EQ(IsRefused(damaged), damaged != text) << damaged;
    }
  }
}

TEST(Journal, IsRefusedIfItIsTruncatedOrContinued) {
  const std::string text = TextOf(Sample());
  for (std::size_t size = 0; size < text.size(); ++size) {
    ASSERT_TRUE(IsRefused(text.substr(0, size))) << size;
  }
  EXPECT_TRUE(IsRefused(text + "\n"));
  EXPECT_TRUE(IsRefused(text + text));
  EXPECT_THAT([&] { ParseJournal(text + "\n"); },
              ThrowsMessage<std::runtime_error>("damaged or incomplete"));
}

TEST(Journal, IsRefusedIfItIsOfAnotherVersion) {
  EXPECT_THAT(
      [] { ParseJournal("kaehost journal 2\n"); },
      ThrowsMessage<std::runtime_error>("not a journal that this version of kaehost knows"));
}

TEST(Journal, HasOnlyFilesOfTheCatalogue) {
  for (const char* name : {"ipv4/../../kernel/core_pattern", "ipv4/tcp_sac", "ipv4/", "core"}) {
    Journal journal = Sample();
    journal.tunables[name] = {"1"};
    EXPECT_TRUE(IsRefused(TextOf(journal))) << name;
  }
}

TEST(Journal, IsRefusedIfAValueOrAnOptionIsTwoLines) {
  Journal value = Sample();
  value.tunables["ipv4/tcp_sack"] = {"1\n2"};
  EXPECT_TRUE(IsRefused(TextOf(value)));
  Journal option = Sample();
  option.option = "--netns /a\nb";
  EXPECT_TRUE(IsRefused(TextOf(option)));
}

TEST(NewJournal, IsOfThisProcessAndThisNamespaceNow) {
  const auto uptime = [] {
    long long seconds = 0;
    std::ifstream("/proc/uptime") >> seconds;
    return seconds;
  };
  const long long before = uptime();
  const Journal journal = NewJournal("--live", {{"ipv4/tcp_sack", {"1"}}});
  const long long after = uptime();
  struct stat network = {};
  ASSERT_EQ(stat("/proc/self/ns/net", &network), 0);
  std::string boot;
  std::ifstream("/proc/sys/kernel/random/boot_id") >> boot;
  EXPECT_EQ(journal.boot, boot);
  EXPECT_EQ(journal.boot.size(), 36U);
  EXPECT_EQ(journal.network, std::to_string(network.st_dev) + ":" + std::to_string(network.st_ino));
  EXPECT_EQ(devhost::NetworkAt("/proc/self/ns/net"), journal.network);
  EXPECT_NE(devhost::NetworkAt("/proc/self/ns/mnt"), journal.network);
  EXPECT_EQ(journal.option, "--live");
  EXPECT_EQ(journal.process, getpid());
  EXPECT_THAT(journal.started, MatchesRegex("20..-..-..T..:..:..Z"));
  EXPECT_GT(before, 0);
  EXPECT_GE(journal.uptime, before);
  EXPECT_LE(journal.uptime, after);
  EXPECT_EQ(journal.tunables.at("ipv4/tcp_sack").text, "1");
  EXPECT_NO_THROW(RefuseEarlierBoot(journal, ""));
  EXPECT_NO_THROW(RefuseOtherNamespace(journal, ""));
}

TEST(NewJournal, StartsInUtc) {
  setenv("TZ", "EST5", 1);
  tzset();
  const Journal journal = NewJournal("--live", {});
  unsetenv("TZ");
  tzset();
  std::tm started = {};
  ASSERT_NE(strptime(journal.started.c_str(), "%Y-%m-%dT%H:%M:%SZ", &started), nullptr);
  EXPECT_NEAR(static_cast<double>(timegm(&started)), static_cast<double>(std::time(nullptr)), 60);
}

TEST(NewJournal, HasOnlyTunablesThatCouldBeRead) {
  const Journal journal =
      NewJournal("--live", {{"ipv4/tcp_fack", {"", 5}}, {"ipv4/tcp_sack", {""}}});
  EXPECT_EQ(journal.tunables, (devhost::Tunables{{"ipv4/tcp_sack", {""}}}));
}

TEST(NewJournal, HasAnotherCookieInEachNamespace) {
  if (!HasCookies()) {
    EXPECT_EQ(NewJournal("--live", {}).cookie, "none");
    return;
  }
  const std::string cookie = NewJournal("--live", {}).cookie;
  EXPECT_THAT(cookie, MatchesRegex("[1-9][0-9]*"));
  EXPECT_EQ(NewJournal("--live", {}).cookie, cookie);
  EXPECT_EXIT(_exit(CookieOfNewNamespace() != cookie ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(RefuseEarlierBoot, KnowsTheBootById) {
  Journal journal = NewJournal("--live", {});
  journal.boot[0] = journal.boot[0] == 'a' ? 'b' : 'a';
  EXPECT_THAT([&] { RefuseEarlierBoot(journal, "/run/j"); },
              ThrowsMessage<NamespaceError>(
                  "/run/j: a journal from before the last boot of this machine; delete it"));
}

TEST(RefuseOtherNamespace, KnowsTheNamespaceByNumberAndCookie) {
  constexpr const char* kSentence =
      "/run/j: the journal of another network namespace, which had the same number and does not "
      "exist any more; delete it";
  Journal journal = NewJournal("--live", {});
  journal.cookie += '0';
  EXPECT_THAT([&] { RefuseOtherNamespace(journal, "/run/j"); },
              ThrowsMessage<NamespaceError>(kSentence));
  journal = NewJournal("--live", {});
  journal.network += '0';
  EXPECT_THAT([&] { RefuseOtherNamespace(journal, "/run/j"); },
              ThrowsMessage<NamespaceError>(kSentence));
}
