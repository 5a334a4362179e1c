// Tunables that cannot be read: kaehost does not say that they are restored.

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/devhost/support/json.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

// The kernel lets nobody read net/ipv4/route/flush. The mount is seen in this network namespace
// only, which kaehost enters from another one.
void MakeATunableWriteOnly() {
  if (unshare(CLONE_NEWNS) != 0 ||
      mount("none", "/proc", "none", MS_REC | MS_PRIVATE, nullptr) != 0 ||
      mount("/proc/sys/net/ipv4/route/flush", "/proc/sys/net/ipv4/tcp_fack", "none", MS_BIND,
            nullptr) != 0 ||
      unshare(CLONE_NEWNET) != 0) {
    _exit(99);
  }
}

class Unread : public testing::Test {
 protected:
  const PrivateRun run_;
  const std::string here_ = "/proc/" + std::to_string(getpid()) + "/ns/net";
  const TempFolder folder_;
  const std::string nothing_ = folder_.Write("nothing.xml", "<tcp-settings/>");
  const std::string document_ = folder_.Write(
      "document.xml", "<tcp-settings><tcp_sack>1</tcp_sack><tcp_fack>1</tcp_fack></tcp-settings>");
};

}  // namespace

TEST_F(Unread, TunableIsNotSaidToBeRestored) {
  const Outcome run =
      Kaehost({"apply", document_, "--quiet", "--plugin", TestPlugin("makes_unreadable")});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out,
              AllOf(ContainsRegex("\n  tcp_sack +unread +1 +1 +-\n"), HasSubstr(", 1 unread\n"),
                    ContainsRegex("kaehost: layer released; cannot tell whether all tunables are "
                                  "restored\n  tunable +cannot be read\n  ipv4/tcp_sack +[A-Z]"),
                    Not(HasSubstr("all tunables restored"))));
}

TEST_F(Unread, TunableIsAFailureAlsoAfterACommand) {
  const Outcome run =
      Kaehost({"apply", nothing_, "--plugin", TestPlugin("makes_unreadable"), "--", "true"});
  EXPECT_EQ(run.status, 1);
}

TEST_F(Unread, TunableIsInTheJsonDocument) {
  const json told = Parsed(
      Kaehost({"apply", "--json", nothing_, "--plugin", TestPlugin("makes_unreadable")}).out);
  EXPECT_EQ(told["status"], 1);
  EXPECT_EQ(told["restored"], nullptr);
  EXPECT_THAT(told["not_restored"], IsEmpty());
  EXPECT_EQ(told["unread"][0]["tunable"], "ipv4/tcp_sack");
  EXPECT_EQ(told["unread"][0]["refused"], false);
  EXPECT_NE(told["unread"][0]["reason"], "");
  EXPECT_EQ(told["unread"].size(), 1U);
  EXPECT_EQ(told["requests"][0]["outcomes"][0], Parsed(R"({
      "element": "tcp_sack", "file": "ipv4/tcp_sack", "position": 0, "outcome": "unread",
      "before": "1", "asked": null, "now": null, "emulated": false})"));
}

TEST_F(Unread, TunableBesideOneThatIsNotRestoredIsToldToo) {
  const std::vector<std::string> arguments = {
      "apply", nothing_, "--plugin", TestPlugin("makes_unreadable"),
      "--",    "sh",     "-c",       "echo 20 >/proc/sys/net/ipv4/tcp_fin_timeout"};
  EXPECT_THAT(Kaehost(arguments).out,
              ContainsRegex("not restored by the layer, but by kaehost:\n"
                            "  tunable +before +now\n  ipv4/tcp_fin_timeout  [0-9]+ .*\n"
                            "kaehost: cannot tell whether all tunables are restored\n"
                            "  tunable +cannot be read\n  ipv4/tcp_sack "));
  std::vector<std::string> to_json = arguments;
  to_json.insert(to_json.begin() + 1, "--json");
  const json told = Parsed(Kaehost(to_json).out);
  EXPECT_EQ(told["restored"], nullptr);
  EXPECT_EQ(told["restored_by_kaehost"].size(), 1U);
  EXPECT_EQ(told["unread"].size(), 1U);
}

// Nobody can write the other one: a file that cannot be written is mounted over it.
TEST_F(Unread, TunableIsNotAllThatIsWrongBesideOneThatCannotBeRestored) {
  const json told =
      Parsed(Kaehost({"apply", "--json", nothing_, "--plugin", TestPlugin("makes_unreadable"), "--",
                      "mount", "--bind", "/proc/version", "/proc/sys/net/ipv4/tcp_fin_timeout"})
                 .out);
  EXPECT_EQ(told["restored"], false);
  EXPECT_EQ(told["not_restored"][0]["tunable"], "ipv4/tcp_fin_timeout");
  EXPECT_EQ(told["unread"][0]["tunable"], "ipv4/tcp_sack");
}

TEST_F(Unread, TunableThatTheKernelNeverShowsIsNoFailure) {
  std::vector<std::string> arguments = {"apply", nothing_,   "--netns",
                                        here_,   "--plugin", TestPlugin("working")};
  const Outcome run = Kaehost(arguments, MakeATunableWriteOnly);
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out,
              AllOf(HasSubstr("nothing requested, nothing changed\n"),
                    ContainsRegex("kaehost: layer released; all tunables restored that can be "
                                  "read\n  tunable +cannot be read\n"
                                  "  ipv4/tcp_fack +Permission denied\n$")));
  arguments.emplace_back("--quiet");
  EXPECT_THAT(Kaehost(arguments, MakeATunableWriteOnly).out, Not(HasSubstr("tcp_fack")));
}

TEST_F(Unread, TunableThatTheKernelNeverShowsIsNotSaidToBeAsRequested) {
  const json told = Parsed(
      Kaehost({"apply", "--json", document_, "--netns", here_, "--plugin", TestPlugin("working")},
              MakeATunableWriteOnly)
          .out);
  EXPECT_EQ(told["status"], 4);
  EXPECT_EQ(told["restored"], nullptr);
  EXPECT_EQ(told["unread"], Parsed(R"([{"tunable": "ipv4/tcp_fack",
      "reason": "Permission denied", "refused": true}])"));
  EXPECT_EQ(told["requests"][0]["counts"], Parsed(R"({"unchanged": 1, "unread": 1})"));
}

TEST_F(Unread, TunableIsAFailureOfInspect) {
  const std::string plugin = TestPlugin("makes_unreadable");
  const Outcome run = Kaehost({"inspect", plugin});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, StartsWith("kaehost: " + plugin +
                                  ": cannot tell whether the plug-in changes ipv4/tcp_sack: cannot "
                                  "read it: "));
}
