// Whatever a plug-in does to its process, and whoever dies: every tunable is restored, and kaehost
// says what happened. "The machine's own" tunables are those of the test's private namespace.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/scratch_files.h"
#include "devhost/kaehost/kernel/tunables.h"
#include "tests/devhost/support/json.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"
#include "tests/support/soon.h"

using nlohmann::json;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::map<std::string, std::string> kEnds = {
    {"crash", "was killed by signal 11 (Segmentation fault)"},
    {"crash under a tracer", "was killed by signal 11 (Segmentation fault)"},
    {"abort", "was killed by signal 6 (Aborted)"},
    {"_exit", "ended with status 0"},
    {"kill", "was killed by signal 9 (Killed)"},
};

class PluginProcess : public testing::Test {
 protected:
  PluginProcess() {
    devhost::MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
  }
  // Private namespaces of later tests start from the values of this one.
  ~PluginProcess() override { devhost::Restore(before_); }

  // Runs kaehost to its end. Expects that all tunables are as before.
  Outcome Apply(const std::string& misbehaves, std::vector<std::string> arguments) const {
    setenv("MISBEHAVES", misbehaves.c_str(), 1);
    arguments.insert(arguments.begin(), {"apply", "--live", "--plugin", plugin_});
    Outcome run = Kaehost(arguments);
    EXPECT_EQ(devhost::ReadTunables(), before_) << misbehaves;
    return run;
  }

  // Waits until all tunables are as before, which can be a moment after kaehost has died.
  void ExpectRestoredSoon() const {
    EXPECT_TRUE(Soon([this] { return devhost::ReadTunables() == before_; }));
  }

  // Starts a session that waits in `misbehaves`.
  std::unique_ptr<RunningKaehost> Start(const std::string& misbehaves,
                                        std::vector<std::string> arguments,
                                        const std::function<void()>& prepare = {}) const {
    setenv("MISBEHAVES", misbehaves.c_str(), 1);
    arguments.insert(arguments.begin(), {"apply", "--live", "--plugin", plugin_});
    return std::make_unique<RunningKaehost>(arguments, prepare);
  }

  // For `prepare`: a parent can leave signals blocked.
  static void Block(int signal) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
  }

  static std::string WorkerOf(const RunningKaehost& kaehost) {
    const std::string process = std::to_string(kaehost.pid());
    std::string worker;
    std::ifstream("/proc/" + process + "/task/" + process + "/children") >> worker;
    return worker;
  }

  static bool IsAlive(const std::string& process) {
    std::ifstream stat("/proc/" + process + "/stat");
    std::string number;
    std::string name;
    std::string state;
    return stat >> number >> name >> state && state != "Z";
  }

  // Waits until the plug-in has changed the tunable.
  static void AwaitChange() {
    ASSERT_TRUE(Soon([] {
      std::string value;
      return std::ifstream("/proc/sys/net/ipv4/tcp_sack") >> value && value == "0";
    }));
  }

  const PrivateRun run_;
  const TempFolder folder_;
  const std::string plugin_ = TestPlugin("misbehaves");
  const std::string first_ = folder_.Write("first.xml", "<tcp-settings/>");
  const std::string second_ = folder_.Write("second.xml", "<tcp-settings/>");
  const std::string settings_ =
      folder_.Write("settings.xml", "<tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>");
  const devhost::Tunables before_ = devhost::ReadTunables();
};

}  // namespace

TEST_F(PluginProcess, ThatEndsInARequestIsReportedAndKaehostRestores) {
  for (const auto& [deed, end] : kEnds) {
    const Outcome run = Apply("do_Configure " + deed, {first_, second_, "--", "echo", "run"});
    EXPECT_EQ(run.status, 1) << deed;
    EXPECT_THAT(run.out, HasSubstr("\nkaehost: the plug-in's process " + end +
                                   " during request 1 of 2: " + first_ +
                                   "; kaehost restored 1 tunable\n"
                                   "kaehost: all tunables restored\n"));
    EXPECT_THAT(run.out, HasSubstr("\nkaehost: not delivered: " + second_ + "\n"));
    EXPECT_THAT(run.out,
                HasSubstr("\nkaehost: echo: not run, because the plug-in's process ended\n"));
    EXPECT_THAT(run.out, Not(HasSubstr("releasing the layer")));
    EXPECT_THAT(run.out, ContainsRegex("\n  tcp_sack +overridden +1 +- +0\n"));
  }
}

TEST_F(PluginProcess, ThatEndsAfterAReplyGetsNoMoreDocuments) {
  const Outcome run = Apply("do_Configure die after the reply", {first_, second_, "--", "echo"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("\nkaehost: reply: success\n"));
  EXPECT_THAT(run.out,
              HasSubstr("\nkaehost: not delivered: " + second_ +
                        "\nkaehost: echo: not run, because the plug-in's process ended\n"));
}

TEST_F(PluginProcess, ThatEndsInTheReleaseIsReportedAndKaehostRestores) {
  for (const std::string moment : {"do_Release", "CleanupPlugin", "destructor"}) {
    for (const auto& [deed, end] : kEnds) {
      const Outcome run = Apply(moment + ' ' + deed, {"--quiet", first_, "--", "true"});
      EXPECT_EQ(run.status, 1) << moment << ' ' << deed;
      EXPECT_THAT(run.out, EndsWith("kaehost: the plug-in's process " + end +
                                    " during the release; kaehost restored 1 tunable\n"));
    }
  }
}

TEST_F(PluginProcess, ThatEndsBadlyAfterAllItsWorkIsReported) {
  for (const std::string deed : {"crash", "exit with 3"}) {
    const Outcome run = Apply("exit " + deed, {"--quiet", first_, "--", "true"});
    EXPECT_EQ(run.status, 1) << deed;
    EXPECT_THAT(run.out, ContainsRegex("process (was killed by signal 11 .*|ended with status 3) "
                                       "during the release; kaehost restored 1 tunable\n"));
  }
}

TEST_F(PluginProcess, ThatDoesNotEndAfterAllItsWorkIsKilledAfterASignal) {
  const auto kaehost = Start("exit hang", {"--kill-after=1", first_, "--", "true"});
  AwaitChange();
  kill(kaehost->pid(), SIGTERM);
  EXPECT_EQ(kaehost->Finish().status, 1);
  EXPECT_EQ(devhost::ReadTunables(), before_);
}

TEST_F(PluginProcess, HasItsTimeFromTheSignalOn) {
  const Outcome run = Apply("do_Configure interrupt late", {"--kill-after=1", first_});
  EXPECT_EQ(run.status, 128 + SIGTERM) << run.out;
}

TEST_F(PluginProcess, IsNotReleasedBecauseOfATimerOfThePlugin) {
  const Outcome run =
      Apply("do_Configure have a timer",
            {"--quiet", first_, "--", "sh", "-c", "sleep 0.1; cat /proc/sys/net/ipv4/tcp_sack"});
  EXPECT_THAT(run.out, HasSubstr(": 1 overridden\n0\n"));
}

TEST_F(PluginProcess, CannotKeepLinesInABuffer) {
  const Outcome run = Apply("do_Configure buffer its lines", {"--verbose", first_, "--", "true"});
  EXPECT_THAT(run.out, ContainsRegex("request: [^\n]*\n\\[buffered\\]\n"));
}

TEST_F(PluginProcess, ThatEndsBeforeTheFirstRequestIsAPluginThatDoesNotLoad) {
  for (const std::string moment : {"constructor", "InitPlugin", "GetNewLayer"}) {
    for (const auto& [deed, end] : kEnds) {
      const Outcome run = Apply(moment + ' ' + deed, {first_});
      EXPECT_EQ(run.status, 3) << moment << ' ' << deed;
      EXPECT_EQ(run.err, "kaehost: " + plugin_ + ": the plug-in does not load: its process " + end +
                             "; nothing was delivered\n");
      EXPECT_THAT(run.out, EndsWith("\nkaehost: kaehost restored 1 tunable\n"
                                    "kaehost: all tunables restored\n"));
    }
  }
}

TEST_F(PluginProcess, IsTheOnlyOneThatAnswers) {
  for (const std::string moment :
       {"constructor", "InitPlugin", "GetNewLayer", "do_Configure", "do_Release"}) {
    for (const std::string deed : {"fork", "not wait"}) {
      const Outcome run = Apply(moment + ' ' + deed, {first_, second_, "--", "true"});
      EXPECT_EQ(run.status, 0) << moment << ' ' << deed << run.out << run.err;
      EXPECT_THAT(run.out, EndsWith("\nkaehost: layer released; all tunables restored\n"));
    }
  }
}

TEST_F(PluginProcess, CannotAnswerWithNonsense) {
  for (const std::string deed :
       {"write to all descriptors", "send an empty answer", "send a number"}) {
    const Outcome run = Apply("do_Configure " + deed, {first_, second_});
    EXPECT_EQ(run.status, 1) << deed;
    EXPECT_EQ(run.err, "") << deed;
    EXPECT_THAT(run.out, HasSubstr("process ended with status 0 during request 1 of 2: "));
    const Outcome loading = Apply("InitPlugin " + deed, {first_});
    EXPECT_EQ(loading.status, 3) << deed;
    EXPECT_THAT(loading.err, HasSubstr("does not load: its process ended with status 0;"));
  }
}

TEST_F(PluginProcess, CannotFillTheMemoryOfKaehost) {
  const Outcome run =
      Apply("do_Configure print a tebibyte", {"--verbose", first_, second_, "--", "true"});
  EXPECT_EQ(run.status, 0) << run.err;
  const std::string sentence =
      "\n[kaehost: the plug-in printed more than 64 MiB; the rest is not shown]\n";
  const std::size_t found = run.out.find(sentence);
  ASSERT_NE(found, std::string::npos);
  EXPECT_EQ(run.out.find(sentence, found + 1), std::string::npos);
}

// Its lines are kept in a file.
TEST_F(PluginProcess, CannotPrintAboveTheFileSizeLimitUnnoticed) {
  const auto count = [&](rlim_t limit) {
    const Outcome run = Kaehost({"apply", first_, second_}, [limit] {
      const rlimit files = {limit, limit};
      setrlimit(RLIMIT_FSIZE, &files);
    });
    EXPECT_EQ(run.status, 0) << run.err;
    const std::regex sentence(
        "\n\\[kaehost: failed to keep the plug-in's lines above the file size limit "
        "\\(ulimit -f\\)\\]\n");
    return std::distance(std::sregex_iterator(run.out.begin(), run.out.end(), sentence), {});
  };
  EXPECT_EQ(count(1'000), 1);
  EXPECT_EQ(count(1'000'000), 0);
}

TEST_F(PluginProcess, OfARefusedPluginIsWaitedFor) {
  const Outcome run = Apply("exit change late", {first_});
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.err, HasSubstr("the plug-in made no layer"));
  EXPECT_THAT(run.out, HasSubstr("\nkaehost: kaehost restored 1 tunable\n"));
}

TEST_F(PluginProcess, ThatEndsDuringTheCommandIsReportedAfterIt) {
  const std::string kill_others =
      "for process in $(cat /proc/$PPID/task/$PPID/children); do "
      "[ $process = $$ ] || kill -9 $process; done; sleep 0.1";
  const Outcome run = Apply("", {first_, "--", "sh", "-c", kill_others});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("kaehost: the plug-in's process was killed by signal 9 (Killed) "
                                 "during the command; kaehost restored 0 tunables\n"));
}

TEST_F(PluginProcess, ThatEndsDuringTheHoldEndsTheHold) {
  const auto kaehost = Start("", {first_});
  ASSERT_TRUE(kaehost->HasSaid("kaehost: holding"));
  ASSERT_EQ(kill(std::stoi(WorkerOf(*kaehost)), SIGKILL), 0);
  const Outcome run = kaehost->Finish();
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("process was killed by signal 9 (Killed) during the hold; "));
}

TEST_F(PluginProcess, ThatEndsIsInTheJson) {
  const json report = Parsed(Apply("do_Configure crash", {"--json", first_}).out);
  EXPECT_EQ(report["plugin_ended"],
            "was killed by signal 11 (Segmentation fault) during request 1 of 1: " + first_);
  EXPECT_EQ(report["restored_by_kaehost"],
            Parsed(R"([{"tunable": "ipv4/tcp_sack", "before": "1", "now": "0"}])"));
  EXPECT_EQ(report["requests"][0]["reply"], "none");
  EXPECT_EQ(report["restored"], true);
  EXPECT_EQ(report["status"], 1);

  const json unloaded = Parsed(Apply("InitPlugin crash", {"--json", first_}).out);
  EXPECT_THAT(unloaded["error"].get<std::string>(), HasSubstr("Segmentation fault"));
  EXPECT_EQ(unloaded["status"], 3);
}

TEST_F(PluginProcess, ThatDoesNotReturnAfterASignalIsKilled) {
  const std::string killed = "did not return within 1 s after a signal and was killed";
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    const auto kaehost = Start("do_Configure hang", {"--kill-after", "1", first_});
    AwaitChange();
    kill(kaehost->pid(), signal);
    const Outcome run = kaehost->Finish();
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out,
                HasSubstr("kaehost: the plug-in's process " + killed +
                          " during request 1 of 1: " + first_ + "; kaehost restored 1 tunable\n"));
    EXPECT_EQ(devhost::ReadTunables(), before_);
  }
  const auto loading = Start("constructor hang", {"--kill-after=1", first_});
  AwaitChange();
  kill(loading->pid(), SIGTERM);
  const Outcome run = loading->Finish();
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "kaehost: " + plugin_ + ": the plug-in does not load: its process " + killed +
                         "; nothing was delivered\n");
  EXPECT_EQ(devhost::ReadTunables(), before_);
}

TEST_F(PluginProcess, ThatDoesNotReturnFromTheReleaseAfterASignalIsKilled) {
  const auto interrupt = [this](const std::vector<std::string>& arguments, const char* said) {
    const auto kaehost = Start("do_Release hang", arguments);
    ASSERT_TRUE(kaehost->HasSaid(said));
    kill(kaehost->pid(), SIGTERM);
    EXPECT_THAT(kaehost->Finish().out,
                EndsWith("kaehost: the plug-in's process did not return within 1 s after a signal "
                         "and was killed during the release; kaehost restored 1 tunable\n"
                         "kaehost: all tunables restored\n"));
  };
  interrupt({"--kill-after=1", first_}, "kaehost: holding");
  interrupt({"--kill-after=1", first_, "--", "sleep", "60"}, "kaehost: running: sleep");
}

TEST_F(PluginProcess, EndsAlsoIfItsThreadsAreTraced) {
  const Outcome run = Apply("do_Configure have a traced thread", {first_, "--", "true"});
  EXPECT_EQ(run.status, 0) << run.out;
  const auto kaehost = Start("do_Configure hang with a traced thread", {"--kill-after=1", first_});
  AwaitChange();
  kill(kaehost->pid(), SIGTERM);
  EXPECT_THAT(
      kaehost->Finish().out,
      HasSubstr("did not return within 1 s after a signal and was killed during request 1"));
}

TEST_F(PluginProcess, IsWaitedForOnlyUntilItsOwnEnd) {
  const Outcome run = Apply("do_Configure leave a child", {first_});
  EXPECT_THAT(run.out, HasSubstr("process ended with status 0 during request 1 of 1"));
}

TEST_F(PluginProcess, CannotSpoilTheReport) {
  const Outcome run = Apply("do_Configure spoil the process",
                            {first_, "--", "sh", "-c", "echo \"$MISBEHAVES\" $(pwd)"});
  EXPECT_EQ(run.status, 0) << run.out << run.err;
  EXPECT_THAT(run.out, HasSubstr("\ndo_Configure spoil the process " +
                                 std::filesystem::current_path().string() + "\n"));
  EXPECT_THAT(run.out, EndsWith("\nkaehost: layer released; all tunables restored\n"));
}

TEST_F(PluginProcess, ThatCannotAnswerIsReported) {
  const Outcome run = Apply("do_Configure close all descriptors", {first_});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out,
              HasSubstr("kaehost: the plug-in's process ended with status 0 during request "
                        "1 of 1: "));
}

TEST_F(PluginProcess, ReleasesTheLayerIfKaehostDies) {
  RunningKaehost kaehost({"apply", "--live", settings_});
  ASSERT_TRUE(kaehost.HasSaid("kaehost: holding"));
  AwaitChange();
  kill(kaehost.pid(), SIGKILL);
  EXPECT_EQ(kaehost.Finish().status, 128 + SIGKILL);
  ExpectRestoredSoon();
}

TEST_F(PluginProcess, ReleasesTheLayerIfKaehostDiesInARequest) {
  EXPECT_EQ(Start("do_Configure outlive kaehost", {first_})->Finish().status, 128 + SIGKILL);
  ExpectRestoredSoon();
}

TEST_F(PluginProcess, EndsInTimeIfKaehostDiesAndItCannotRelease) {
  const std::unique_ptr<RunningKaehost> kaehost =
      Start("do_Configure sleep", {"--kill-after=1", first_}, [] { Block(SIGALRM); });
  AwaitChange();
  const std::string worker = WorkerOf(*kaehost);
  ASSERT_TRUE(IsAlive(worker));
  kill(kaehost->pid(), SIGKILL);
  kaehost->Finish();
  EXPECT_TRUE(IsAlive(worker));
  EXPECT_TRUE(Soon([&worker] { return !IsAlive(worker); }));
  devhost::Restore(before_);
}

TEST_F(PluginProcess, IsReleasedAfterASignalAlsoIfNobodyReadsTheReport) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  fcntl(ends[1], F_SETPIPE_SZ, 1);  // becomes a page
  RunningKaehost kaehost({"apply", "--live", "--verbose", "--kill-after=1", settings_}, [&ends] {
    Block(SIGRTMIN);
    dup2(ends[1], STDOUT_FILENO);
  });
  AwaitChange();
  kill(kaehost.pid(), SIGTERM);
  const Outcome run = kaehost.Finish();
  close(ends[0]);
  close(ends[1]);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "kaehost: cannot write standard output; what it shows is incomplete\n");
  EXPECT_EQ(devhost::ReadTunables(), before_);
}

TEST_F(PluginProcess, IsNotStartedForAFifo) {
  const std::string fifo = folder_.Path("fifo.so");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const Outcome run = Apply("", {first_, "--plugin", fifo});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err,
            "kaehost: " + fifo +
                ": the plug-in does not load: not a regular file; nothing was delivered\n");
}

TEST_F(PluginProcess, ThatCrashesInInspectIsReported) {
  setenv("MISBEHAVES", "InitPlugin crash", 1);
  const Outcome run = Kaehost({"inspect", plugin_});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "kaehost: " + plugin_ +
                         ": the plug-in does not load: its process was killed by signal 11 "
                         "(Segmentation fault)\n");
}
