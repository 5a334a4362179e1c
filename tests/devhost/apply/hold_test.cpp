// kaehost apply --hold and --live: settings that last until a signal comes, and are put back then.
// "The machine's own" tunables are those of the test's private namespace.

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/scratch_files.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr const char* kFinTimeout = "/proc/sys/net/ipv4/tcp_fin_timeout";
constexpr const char* kBack = "kaehost: layer released; all tunables restored\n";

// What a plug-in needs to do its work on the tunables of this namespace: writable core files.
class Live : public testing::Test {
 protected:
  Live() {
    std::ofstream(kFinTimeout) << "37";
    devhost::MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
  }

  ~Live() override { std::ofstream(kFinTimeout) << "60"; }

  static std::string FinTimeout() {
    std::string value;
    std::ifstream(kFinTimeout) >> value;
    return value;
  }

  const PrivateRun run_;
  const TempFolder folder_;
  const std::string nothing_ = folder_.Write("nothing.xml", "<tcp-settings/>");
  const std::string document_ = folder_.Write(
      "document.xml", "<tcp-settings><tcp_fin_timeout>20</tcp_fin_timeout></tcp-settings>");
};

using Hold = Live;

}  // namespace

TEST_F(Live, SettingsAreTheMachinesUntilASignalComes) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    RunningKaehost kaehost({"apply", "--live", document_});
    ASSERT_TRUE(kaehost.HasSaid(kHolding));
    EXPECT_EQ(FinTimeout(), "20");
    kill(kaehost.pid(), signal);
    const Outcome run = kaehost.Finish();
    EXPECT_EQ(run.status, 0) << signal;
    EXPECT_THAT(run.out, StartsWith("kaehost: LIVE: writes the tunables of this machine itself, "
                                    "until they are restored\nkaehost: plug-in "));
    EXPECT_THAT(run.out, EndsWith(kBack));
    EXPECT_EQ(FinTimeout(), "37");
  }
}

TEST_F(Live, ShowsWhatOthersChangedBeforeTheReleaseOverwritesIt) {
  RunningKaehost kaehost({"apply", "--live", document_});
  ASSERT_TRUE(kaehost.HasSaid(kHolding));
  std::ofstream(kFinTimeout) << "41";
  kill(kaehost.pid(), SIGTERM);
  EXPECT_THAT(kaehost.Finish().out,
              HasSubstr("kaehost: changed by others since the last request; the release overwrites "
                        "these values:\n"
                        "  tunable               before  now\n"
                        "  ipv4/tcp_fin_timeout  20      41\n"
                        "kaehost: releasing the layer\n"));
  EXPECT_EQ(FinTimeout(), "37");
}

TEST_F(Live, SettingsEndWithTheCommand) {
  const Outcome run = Kaehost({"apply", "--live", "--quiet", document_, "--", "cat", kFinTimeout});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, EndsWith("overridden\n20\n"));
  EXPECT_EQ(FinTimeout(), "37");
}

// The highest two of the ignored signals are the C library's own, which posix_spawn sets aside.
TEST_F(Live, CommandFindsTheSignalsAsTheyAreWithoutKaehost) {
  const Outcome run = Kaehost({"apply", "--live", "--quiet", document_, "--", "grep", "-E",
                               "^Sig(Blk|Ign)", "/proc/self/status"});
  EXPECT_THAT(run.out, ContainsRegex("\nSigBlk:\t0000000000000000\n"
                                     "SigIgn:\t0000000[01][08]0000000\n$"));
}

TEST_F(Live, LoopbackIsLeftAsItIs) {
  const Outcome run =
      Kaehost({"apply", "--live", document_, "--", "grep", "127.0.0.1", "/proc/net/fib_trie"});
  EXPECT_EQ(run.status, 1) << run.out;
}

TEST_F(Live, SettingsEndAtOnceWhenARequestFails) {
  const std::string foreign = folder_.Write("foreign.xml", "<udp-settings/>");
  const Outcome run = Kaehost({"apply", "--live", document_, foreign});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, Not(HasSubstr(kHolding)));
  EXPECT_THAT(run.out, EndsWith(kBack));
  EXPECT_EQ(FinTimeout(), "37");
}

TEST_F(Live, SignalAmongTheRequestsLeavesOutTheRestAndRestores) {
  const std::vector<std::string> arguments = {
      "apply", "--live", document_, document_, "--plugin", TestPlugin("interrupts_its_host")};
  const Outcome run = Kaehost(arguments);
  EXPECT_EQ(run.status, 128 + SIGTERM);
  EXPECT_THAT(run.out, HasSubstr("kaehost: interrupted; not delivered: " + document_ + "\n"));
  EXPECT_THAT(run.out, Not(HasSubstr(kHolding)));
  EXPECT_THAT(run.out, HasSubstr(kBack));
}

TEST_F(Live, SignalInTheEndInterruptsNothing) {
  const Outcome run = Kaehost({"apply", "--live", nothing_, "--plugin",
                               TestPlugin("interrupts_its_release"), "--", "true"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, HasSubstr(kBack));
}

TEST_F(Live, CommandIsNotRunAfterASignal) {
  const Outcome run = Kaehost({"apply", "--live", document_, "--plugin",
                               TestPlugin("interrupts_its_host"), "--", "echo", "ran"});
  EXPECT_EQ(run.status, 128 + SIGTERM);
  EXPECT_THAT(run.out, HasSubstr("kaehost: echo: not run, because the session was interrupted\n"));
  EXPECT_THAT(run.out, Not(HasSubstr("ran\n")));
}

TEST_F(Live, ReaderThatGoesDoesNotKeepTheTunablesFromComingBack) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  RunningKaehost kaehost({"apply", "--live", document_}, [ends] {
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
  });
  close(ends[1]);
  char byte = 0;
  ASSERT_EQ(read(ends[0], &byte, 1), 1);
  close(ends[0]);
  kill(kaehost.pid(), SIGTERM);
  const Outcome run = kaehost.Finish();
  EXPECT_EQ(run.err, "kaehost: cannot write standard output; what it shows is incomplete\n");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(FinTimeout(), "37");
}

// A limit that the texts of tunables keep within, but not the journal or the line of counts.
TEST_F(Live, FileThatMayNotGrowDoesNotKeepTheTunablesFromComingBack) {
  const auto limit = [] {
    const rlimit bytes = {32, 32};
    setrlimit(RLIMIT_FSIZE, &bytes);
  };
  const Outcome refused = Kaehost({"apply", "--live", document_, "--", "true"}, limit);
  EXPECT_EQ(refused.status, 77);
  const Outcome run =
      Kaehost({"apply", "--live", "--no-journal", "--quiet", document_, "--", "true"}, limit);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(FinTimeout(), "37");
}

TEST_F(Live, SignalThatIsIgnoredAlreadyInterruptsNothing) {
  const Outcome run = Kaehost({"apply", "--live", nothing_, "--plugin",
                               TestPlugin("interrupts_its_host"), "--", "echo", "ran"},
                              [] { std::signal(SIGTERM, SIG_IGN); });
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, HasSubstr("ran\n"));
}

TEST_F(Live, TakesRoot) {
  const Outcome run = Kaehost({"apply", "--live", document_}, [] {
    unshare(CLONE_NEWNS);
    mount("/proc/version", "/proc/sys/net/ipv4/tcp_sack", "none", MS_BIND, nullptr);
    BecomeOrdinaryUser();
  });
  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "kaehost: /proc/sys/net/ipv4/tcp_sack: cannot open for writing: Permission denied; run "
            "as root, or leave out --live to try the documents in a private namespace\n");
}

TEST_F(Live, TakesTunablesThatCanBeWritten) {
  const Outcome run =
      Kaehost({"apply", "--live", document_}, [] { MountReadOnly("/proc/sys/net"); });
  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "kaehost: /proc/sys/net/ipv4/tcp_sack: cannot open for writing: Read-only file system; "
            "/proc/sys is mounted read-only, as in most containers; start the container with a "
            "writable /proc/sys\n");
}

// In a new network namespace, whose core files are read-only or missing.
TEST_F(Live, LeavesReadOnlyCoreFilesAsTheyAre) {
  const Outcome run =
      Kaehost({"apply", "--live", document_, "--", "true"}, [] { unshare(CLONE_NEWNET); });
  EXPECT_THAT(run.out, Not(HasSubstr("emulated")));
  EXPECT_EQ(run.status, HasReadOnlyCoreFiles() ? 1 : 0);
  EXPECT_THAT(run.out,
              HasSubstr(HasReadOnlyCoreFiles()
                            ? "file error: [/proc/sys/net/core/rmem_max]: Permission denied"
                            : "kaehost: reply: success"));
}

TEST_F(Live, EmulatesNothing) {
  const Outcome run = Kaehost({"apply", "--live", "--whole-catalogue", document_});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "kaehost: options '--live' and '--whole-catalogue' are mutually exclusive\nTry "
            "'kaehost apply --help' for more information.\n");
}

TEST_F(Live, IsNoOtherNetworkNamespace) {
  const Outcome run = Kaehost({"apply", "--live", "--netns", "blue", document_});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "kaehost: options '--netns' and '--live' are mutually exclusive\nTry 'kaehost apply "
            "--help' for more information.\n");
}

TEST_F(Hold, TellsTheProcessAlsoIfQuiet) {
  RunningKaehost kaehost({"apply", "--hold", "--quiet", document_});
  ASSERT_TRUE(kaehost.HasSaid(", then restoring; process " + std::to_string(kaehost.pid()) + "\n"));
  kill(kaehost.pid(), SIGTERM);
  EXPECT_EQ(kaehost.Finish().status, 0);
}

TEST_F(Hold, TellsTheProcessOnStandardErrorBesideJson) {
  RunningKaehost kaehost({"apply", "--hold", "--json", document_});
  ASSERT_TRUE(kaehost.HasSaid(kHolding));
  kill(kaehost.pid(), SIGTERM);
  const Outcome run = kaehost.Finish();
  EXPECT_EQ(run.err, std::string(kHolding) + ", then restoring; process " +
                         std::to_string(kaehost.pid()) + '\n');
  EXPECT_THAT(run.out, StartsWith("{\n"));
}

TEST_F(Hold, HasALoopbackThatIsUp) {
  RunningKaehost kaehost({"apply", "--hold", document_});
  ASSERT_TRUE(kaehost.HasSaid(kHolding));
  std::ifstream file("/proc/" + std::to_string(kaehost.pid()) + "/net/fib_trie");
  EXPECT_THAT(std::string(std::istreambuf_iterator<char>(file), {}), HasSubstr("127.0.0.1"));
  kill(kaehost.pid(), SIGTERM);
  kaehost.Finish();
}

TEST_F(Hold, KeepsTheSettingsOfAPrivateNamespaceUntilASignalComes) {
  RunningKaehost kaehost({"apply", "--hold", document_});
  ASSERT_TRUE(kaehost.HasSaid(kHolding));
  EXPECT_EQ(FinTimeout(), "37") << "another namespace's";
  kill(kaehost.pid(), SIGTERM);
  const Outcome run = kaehost.Finish();
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out,
              HasSubstr("then restoring; process " + std::to_string(kaehost.pid()) + '\n'));
  EXPECT_THAT(run.out, EndsWith(kBack));
}

TEST_F(Hold, KeepsThoseOfANetworkNamespace) {
  const std::string here = "/proc/" + std::to_string(getpid()) + "/ns/net";
  RunningKaehost kaehost({"apply", "--hold", "--netns", here, document_},
                         [] { unshare(CLONE_NEWNET); });
  ASSERT_TRUE(kaehost.HasSaid(kHolding));
  EXPECT_EQ(FinTimeout(), "20");
  kill(kaehost.pid(), SIGINT);
  EXPECT_EQ(kaehost.Finish().status, 0);
  EXPECT_EQ(FinTimeout(), "37");
}

TEST_F(Hold, IsNotForACommand) {
  const Outcome run = Kaehost({"apply", "--hold", document_, "--", "true"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "kaehost: option '--hold' and a command after '--' are mutually exclusive: a command "
            "ends the session\nTry 'kaehost apply --help' for more information.\n");
}
