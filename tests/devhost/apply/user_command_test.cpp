// kaehost apply DOCUMENT -- COMMAND: a command under the settings.

#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class Command : public testing::Test {
 protected:
  Outcome Under(const std::vector<std::string>& command,
                const std::vector<std::string>& options = {"--quiet"}) const {
    std::vector<std::string> arguments = {"apply", document_};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.emplace_back("--");
    arguments.insert(arguments.end(), command.begin(), command.end());
    return Kaehost(arguments);
  }

  const TempFolder folder_;
  const std::string document_ = folder_.Write(
      "document.xml", "<tcp-settings><tcp_fin_timeout>20</tcp_fin_timeout></tcp-settings>");
  const std::string counts_ = "kaehost: " + document_ + ": 1 applied, 4 overridden\n";
};

}  // namespace

TEST_F(Command, RunsUnderTheSettingsBeforeTheyArePutBack) {
  const Outcome run = Under({"cat", "/proc/sys/net/ipv4/tcp_fin_timeout"}, {});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, HasSubstr(counts_ + "kaehost: running: cat\n"
                                           "20\n"
                                           "kaehost: cat: ended with status 0\n"
                                           "kaehost: releasing the layer\n"));
  EXPECT_THAT(run.out, EndsWith("kaehost: layer released; all tunables restored\n"));
}

TEST_F(Command, LeavesNothingButItsOutputAndTheCountsWhenQuiet) {
  EXPECT_EQ(Under({"echo", "hello"}).out, counts_ + "hello\n");
}

TEST_F(Command, GetsItsArgumentsAsTheyAre) {
  EXPECT_EQ(Under({"printf", "[%s]", "a b", "--quiet", "--", ""}).out,
            counts_ + "[a b][--quiet][--][]");
}

// The last one is of the folder that the shell reads.
TEST_F(Command, GetsNoDescriptorsOfKaehost) {
  const Outcome run =
      Kaehost({"apply", "--quiet", document_, "--", "sh", "-c", "echo /proc/self/fd/*"},
              [] { closefrom(3); });
  EXPECT_EQ(run.out, counts_ + "/proc/self/fd/0 /proc/self/fd/1 /proc/self/fd/2 /proc/self/fd/3\n");
}

TEST_F(Command, GivesItsExitStatus) {
  for (const int status : {0, 1, 7, 77, 255}) {
    EXPECT_EQ(Under({"sh", "-c", "exit " + std::to_string(status)}).status, status);
  }
}

TEST_F(Command, GivesItsExitStatusAlsoWhereEndsOfChildrenAreIgnored) {
  const Outcome run = Kaehost({"apply", document_, "--", "sh", "-c", "exit 7"},
                              [] { std::signal(SIGCHLD, SIG_IGN); });
  EXPECT_EQ(run.status, 7);
}

TEST_F(Command, EndedBySignalGivesTheStatusOfAShell) {
  EXPECT_EQ(Under({"sh", "-c", "kill -TERM $$"}).status, 128 + SIGTERM);
}

TEST_F(Command, CannotHideThatAValueWasRejectedOrAdjusted) {
  const std::string rejected =
      folder_.Write("rejected.xml", "<tcp-settings><tcp_sack>x</tcp_sack></tcp-settings>");
  EXPECT_EQ(Kaehost({"apply", rejected}).status, 4);
  EXPECT_EQ(Kaehost({"apply", rejected, "--", "true"}).status, 4);
  EXPECT_EQ(Kaehost({"apply", rejected, "--", "sh", "-c", "exit 7"}).status, 7);
  const std::string adjusted =
      folder_.Write("adjusted.xml", "<tcp-settings><tcp_sack>0 7</tcp_sack></tcp-settings>");
  EXPECT_EQ(Kaehost({"apply", adjusted, "--", "true"}).status, 4);
}

TEST_F(Command, ThatIsNotThereIsToldAndHasTheStatusOfAShell) {
  // A folder that must not be searched would be another error.
  const Outcome run = Kaehost({"apply", document_, "--quiet", "--", "no-such-command"},
                              [] { setenv("PATH", "/usr/bin:/bin", 1); });
  EXPECT_EQ(run.status, 127);
  EXPECT_EQ(run.err, "kaehost: no-such-command: cannot run: No such file or directory\n");
}

TEST_F(Command, ThatIsNoProgramIsToldAndHasTheStatusOfAShell) {
  const Outcome run = Under({"/proc"});
  EXPECT_EQ(run.status, 126);
  EXPECT_EQ(run.err, "kaehost: /proc: cannot run: Permission denied\n");
}

TEST_F(Command, HasALoopbackThatIsUp) {
  EXPECT_EQ(Under({"grep", "127.0.0.1", "/proc/net/fib_trie"}).status, 0);
}

TEST_F(Command, GetsTheStandardStreamsOnly) {
  const Outcome run =
      Kaehost({"apply", "--quiet", document_, "--", "sh", "-c", "test ! -e /proc/$$/fd/3"},
              [] { close_range(3, ~0U, 0); });
  EXPECT_EQ(run.status, 0);
}

TEST_F(Command, IsNotRunWhenARequestFails) {
  const std::string foreign = folder_.Write("foreign.xml", "<udp-settings/>");
  const Outcome run = Kaehost({"apply", foreign, document_, "--", "echo", "ran"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("kaehost: echo: not run, because a request failed\n"));
  EXPECT_THAT(run.out, Not(HasSubstr("ran\n")));
}

TEST_F(Command, CannotHideThatATunableIsNotBack) {
  const Outcome run = Kaehost(
      {"apply", document_, "--plugin", TestPlugin("restores_nothing"), "--", "sh", "-c", "exit 7"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("kaehost: sh: ended with status 7\n"));
  EXPECT_THAT(run.out,
              HasSubstr("kaehost: layer released; not restored by the layer, but by kaehost:\n"));
}

TEST_F(Command, IsHandedASignalThatOnlyKaehostGot) {
  RunningKaehost kaehost(
      {"apply", document_, "--", "sh", "-c",
       "trap 'echo trapped; exit 9' TERM; echo ready; while :; do sleep 0.01; done"});
  ASSERT_TRUE(kaehost.HasSaid("ready\n"));
  kill(kaehost.pid(), SIGTERM);
  const Outcome run = kaehost.Finish();
  EXPECT_EQ(run.status, 9);
  EXPECT_THAT(run.out, HasSubstr("trapped\nkaehost: sh: ended with status 9\n"));
  EXPECT_THAT(run.out, EndsWith("all tunables restored\n"));
}

TEST_F(Command, IsHandedASignalAlsoIfItIsStopped) {
  const std::string script =
      "trap 'exit 9' TERM; (until grep -q '^State:.*T' /proc/$$/status; do sleep 0.01; done; "
      "echo stopped) & kill -STOP $$; sleep 60";
  RunningKaehost kaehost({"apply", document_, "--", "sh", "-c", script});
  ASSERT_TRUE(kaehost.HasSaid("stopped\n"));
  kill(kaehost.pid(), SIGTERM);
  EXPECT_EQ(kaehost.Finish().status, 9);
}

TEST_F(Command, PrintsToStandardErrorBesideJson) {
  const Outcome run = Under({"echo", "hello"}, {"--json"});
  EXPECT_THAT(run.out, StartsWith("{\n"));
  EXPECT_THAT(run.out, HasSubstr("\"command_status\": 0,\n"));
  EXPECT_EQ(run.err, "hello\n");
}

TEST_F(Command, NeedsAWordAfterTheDashes) {
  const Outcome run = Under({});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(
      run.err,
      "kaehost: missing command after '--'\nTry 'kaehost apply --help' for more information.\n");
}

TEST_F(Command, IsForApplyAlone) {
  const Outcome run = Kaehost({"--", "true"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "kaehost: unrecognized command 'true'\nTry 'kaehost --help' for more information.\n");
}
