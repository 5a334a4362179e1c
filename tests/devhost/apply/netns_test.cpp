// kaehost in a network namespace that exists already: the one that the test is in, but not kaehost.

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>

#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;

namespace {

constexpr const char* kFinTimeout = "/proc/sys/net/ipv4/tcp_fin_timeout";

std::string FinTimeout() {
  std::string value;
  std::ifstream(kFinTimeout) >> value;
  return value;
}

// For kaehost: another network namespace than the test's.
void LeaveTheNamespace() { unshare(CLONE_NEWNET); }

[[noreturn]] void AwaitAndExit(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  _exit(WEXITSTATUS(status));
}

std::string Mounts() {
  std::ifstream file("/proc/self/mountinfo");
  return {std::istreambuf_iterator<char>(file), {}};
}

class NetworkNamespace : public testing::Test {
 protected:
  NetworkNamespace() { std::ofstream(kFinTimeout) << "37"; }
  ~NetworkNamespace() override { std::ofstream(kFinTimeout) << "60"; }

  const PrivateRun run_;
  const std::string here_ = "/proc/" + std::to_string(getpid()) + "/ns/net";
  TempFolder folder;
  const std::string document =
      folder.Write("a.xml", "<tcp-settings><tcp_fin_timeout>20</tcp_fin_timeout></tcp-settings>");
};

}  // namespace

TEST_F(NetworkNamespace, IsWhereTheDocumentIsAppliedAndPutBack) {
  const Outcome run = Kaehost({"apply", "--netns", here_, document}, LeaveTheNamespace);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, AllOf(HasSubstr("kaehost: in the network namespace " + here_ +
                                       "; its tunables will be restored"),
                             ContainsRegex("\n  tcp_fin_timeout +applied +37 +20 +20\n"),
                             HasSubstr("all tunables restored\n")));
  EXPECT_EQ(FinTimeout(), "37");
}

TEST_F(NetworkNamespace, HasNoMountsLeftOverItsTunables) {
  const std::string before = Mounts();
  const Outcome run =
      Kaehost({"apply", "--netns", here_, "--whole-catalogue", document}, LeaveTheNamespace);
  EXPECT_THAT(run.out, HasSubstr("emulated by scratch files: "));
  EXPECT_EQ(Mounts(), before);
}

TEST_F(NetworkNamespace, IsNotTouchedByAPrivateOne) {
  const Outcome run = Kaehost({"apply", document});
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_fin_timeout +applied +37 +20 +20\n"));
  EXPECT_EQ(FinTimeout(), "37");
}

TEST_F(NetworkNamespace, IsNotTheOneThatKaehostWasStartedIn) {
  for (const std::string& path : {std::string("/proc/self/ns/net"), here_}) {
    const Outcome run = Kaehost({"apply", "--netns", path, document});
    EXPECT_EQ(run.status, 77);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "kaehost: " + path +
                           ": this network namespace is the machine's own, in which kaehost was "
                           "started; use --live to change its tunables\n");
  }
}

// Process 1 is here that of a private process namespace, in the network namespace of the test.
TEST_F(NetworkNamespace, IsNotTheOneOfProcess1) {
  const Outcome run = Kaehost({"apply", "--netns", "/proc/1/ns/net", document}, [] {
    unshare(CLONE_NEWPID | CLONE_NEWNS);
    const pid_t first = fork();
    if (first == 0) {
      mount("proc", "/proc", "proc", 0, nullptr);
      const pid_t second = fork();
      if (second == 0) {
        LeaveTheNamespace();
        return;
      }
      AwaitAndExit(second);
    }
    AwaitAndExit(first);
  });
  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.err,
            "kaehost: /proc/1/ns/net: this network namespace is the machine's own, that of process "
            "1; start kaehost there and use --live to change its tunables\n");
}

TEST_F(NetworkNamespace, IsLookedForByNameWhereIpNetnsKeepsThem) {
  const Outcome run = Kaehost({"apply", "--netns", "no-such-name", document});
  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "kaehost: cannot enter the network namespace /run/netns/no-such-name: No such file or "
            "directory; list the namespaces by 'ip netns list', and run as root\n");
}

// A pipe that nobody writes to would keep an ordinary open waiting.
TEST_F(NetworkNamespace, ThatIsNoneIsNotWaitedFor) {
  const TempFolder pipes;
  const std::string pipe = pipes.Path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const Outcome run = Kaehost({"apply", "--netns", pipe, document});
  EXPECT_EQ(run.status, 77);
  EXPECT_THAT(run.err, HasSubstr(pipe + ": Invalid argument; "));
}

TEST_F(NetworkNamespace, WithoutANameIsNotAPrivateOne) {
  const Outcome run = Kaehost({"apply", "--netns", "", document});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "kaehost: --netns: the name is empty; name a network namespace, or leave the option "
            "out for a private one\nTry 'kaehost apply --help' for more information.\n");
}
