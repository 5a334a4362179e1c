// kaehost where the machine is not as one would have it.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/net.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "tests/devhost/support/named_networks.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::AllOf;
using testing::AnyOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* kOutputLost =
    "kaehost: cannot write standard output; what it shows is incomplete\n";

// Some tunables as this process sees them.
std::vector<std::string> TunablesHere() {
  std::vector<std::string> texts;
  for (const char* name : {"tcp_sack", "ip_local_port_range", "ip_forward"}) {
    std::ifstream file(std::string("/proc/sys/net/ipv4/") + name);
    texts.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  return texts;
}

// What is said when no namespace is to be had, for the reason `why`.
std::string NoNamespace(const std::string& why) {
  return "kaehost: cannot create a private network namespace: " + why +
         "; run as root, or enable user namespaces (if they exist, sysctl "
         "kernel.unprivileged_userns_clone=1 and kernel.apparmor_restrict_unprivileged_userns=0)\n";
}

// What is said when a user has as many namespaces of a kind as the kernel allows.
std::string AtLimit(const std::string& kind, const std::string& file,
                    const std::string& other_way) {
  return "kaehost: cannot create a " + kind +
         " namespace: there are as many as the kernel allows; raise /proc/sys/user/max_" + file +
         "_namespaces (on the machine too, if this is a container), or " + other_way + '\n';
}

// In the test's own user namespace, during the lifetime of this object.
class NoMountNamespaces {
 public:
  NoMountNamespaces() {
    std::getline(std::ifstream(kLimit), before_);
    std::ofstream(kLimit) << 0;
  }
  ~NoMountNamespaces() { std::ofstream(kLimit) << before_; }
  NoMountNamespaces(const NoMountNamespaces&) = delete;
  NoMountNamespaces& operator=(const NoMountNamespaces&) = delete;

 private:
  static constexpr const char* kLimit = "/proc/sys/user/max_mnt_namespaces";
  std::string before_;
};

// Replaces standard output with a pipe that nobody reads from.
void CloseTheReadersEnd() {
  int ends[2];
  if (pipe(ends) == 0) {
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
  }
}

void ForbidSockets() {
  Forbid(SYS_socket, 0, AF_INET);
#ifdef SYS_socketcall
  Forbid(SYS_socketcall, 0, SYS_SOCKET);
#endif
}

class Surroundings : public testing::Test {
 protected:
  Outcome Apply(const std::function<void()>& prepare) const {
    return Kaehost({"apply", document_}, prepare);
  }

  const TempFolder folder_;
  const std::string document_ =
      folder_.Write("document.xml", "<tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>");
};

}  // namespace

TEST_F(Surroundings, TunablesOutsideStayAsTheyAre) {
  const std::vector<std::string> before = TunablesHere();
  const Outcome run = Kaehost({"apply", document_, "--plugin", TestPlugin("restores_nothing")});
  ASSERT_THAT(run.out, AllOf(HasSubstr("not restored by the layer"), HasSubstr("ipv4/tcp_sack "),
                             HasSubstr("port_range ")));
  EXPECT_EQ(TunablesHere(), before);
}

TEST_F(Surroundings, OrdinaryUserNeedsNothingButUserNamespaces) {
  const Outcome run = Apply(BecomeOrdinaryUser);
  EXPECT_EQ(run.status, HasUserNamespaces() ? 0 : 77) << run.err;
}

TEST_F(Surroundings, FolderForTemporaryFilesIsNotNeeded) {
  const Outcome run = Apply([] { setenv("TMPDIR", "/nowhere", 1); });
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_sack +applied +1 +0 +0\n"));
}

TEST_F(Surroundings, RootNeedsNoUserNamespace) {
  const Outcome run = Apply(ForbidUserNamespacesToRoot);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_sack +applied +1 +0 +0\n"));
}

TEST_F(Surroundings, NoNamespaceForRootIsToldWithWhatToEnable) {
  const Outcome run = Apply(ForbidNamespacesToRoot);
  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.out, "");
  if (HasUserNamespaces()) {
    EXPECT_EQ(run.err,
              AtLimit("private network", "net", "end processes that have such namespaces"));
  }
}

TEST_F(Surroundings, NoNamespaceForAnOrdinaryUserIsToldWithWhatToEnable) {
  const Outcome run = Apply(ForbidNamespacesToOrdinaryUser);
  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            HasUserNamespaces()
                ? AtLimit("user", "user", "run as root")
                : NoNamespace("unshare: Operation not permitted; without a user namespace: "
                              "Operation not permitted"));
}

TEST_F(Surroundings, NamespacesThatAreForbiddenAreToldWithWhatToEnable) {
  const Outcome run = Apply([] {
    BecomeOrdinaryUser();
    Forbid(SYS_unshare, 0, CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS);
    Forbid(SYS_unshare, 0, CLONE_NEWUSER);
  });
  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.err, NoNamespace("unshare: Operation not permitted; without a user namespace: "
                                 "Operation not permitted"));
}

TEST_F(Surroundings, LimitOfMountNamespacesIsTold) {
  if (!HasUserNamespaces()) {
    return;  // nothing can limit them
  }
  const PrivateRun private_run;
  const NamedNetworks networks({"blue", "red"});
  const NoMountNamespaces none;
  const std::vector<std::string> kTargets[] = {
      {}, {"--netns", "blue", "--whole-catalogue"}, {"--netns", "blue", "--netns", "red"}};
  for (std::vector<std::string> session : kTargets) {
    session.insert(session.begin(), {"apply", document_});
    const Outcome run = Kaehost(session);
    EXPECT_EQ(run.status, 77);
    EXPECT_EQ(run.err, AtLimit("mount", "mnt", "end processes that have such namespaces"));
  }
}

// Without user namespaces nothing is to be mapped, and the first tunable is what cannot be written.
TEST_F(Surroundings, UserThatCannotBeMappedIsToldWithWhatToEnable) {
  const Outcome run = Apply([] { MountReadOnly("/proc"); });
  if (HasUserNamespaces()) {
    EXPECT_EQ(run.status, 77);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, NoNamespace("/proc/self/setgroups: Read-only file system"));
  } else {
    EXPECT_EQ(run.status, 1);
  }
}

TEST_F(Surroundings, ScratchFileThatCannotBeLaidIsToldWithTheWayWithoutIt) {
  const Outcome run = Apply(ForbidNewFileSystems);
  if (!HasReadOnlyCoreFiles()) {
    EXPECT_THAT(run.err, Not(HasSubstr("scratch file"))) << "this kernel needs none";
    return;
  }
  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.err,
            "kaehost: /proc/sys/net/core/rmem_max: read-only, and cannot mount a scratch file over "
            "it: Operation not permitted; use --as-is to leave it read-only\n");
}

TEST_F(Surroundings, LoopbackThatStaysDownIsToldAfterTheRelease) {
  const Outcome run = Kaehost({"apply", document_, "--", "echo", "ran"}, ForbidSockets);
  EXPECT_EQ(run.status, 77);
  EXPECT_THAT(run.out, AllOf(HasSubstr("kaehost: layer released; all tunables restored"),
                             Not(HasSubstr("ran\n"))));
  EXPECT_EQ(run.err,
            "kaehost: cannot bring the loopback interface up: Operation not permitted; leave out "
            "--hold, or the command after '--'\n");
}

TEST_F(Surroundings, OutputToAFullDeviceIsAFailure) {
  const Outcome run = Apply([] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, kOutputLost);
}

TEST_F(Surroundings, HelpToAFullDeviceIsAFailure) {
  const Outcome run = Kaehost({"--help"}, [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, kOutputLost);
}

TEST_F(Surroundings, OutputToAClosedPipeIsAFailureWhereItDoesNotKill) {
  const Outcome run = Apply([] {
    std::signal(SIGPIPE, SIG_IGN);
    CloseTheReadersEnd();
  });
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, kOutputLost);
}

TEST_F(Surroundings, OutputToAClosedPipeEndsItAsItEndsOtherCommands) {
  EXPECT_EQ(Apply(CloseTheReadersEnd).status, 128 + SIGPIPE);
}

// Where kaehost writes to files in memory, the limit brings SIGXFSZ. What it prints goes to a pipe
// here, which has no limit.
TEST_F(Surroundings, LimitOfTheSizeOfFilesIsToldAndKillsNothing) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
  const auto prepare = [ends] {
    dup2(ends[1], STDERR_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    const rlimit limit = {0, 0};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
  for (const char* option : {"--quiet", "--verbose", "--as-is", "--json"}) {
    EXPECT_THAT(Kaehost({"apply", option, document_}, prepare).status, AnyOf(0, 1, 77)) << option;
    std::string said(1 << 16, '\0');
    const ssize_t count = read(ends[0], said.data(), said.size());
    said.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    EXPECT_THAT(said, AnyOf(HasSubstr("kaehost: "), HasSubstr("\"error\": "))) << option;
  }
  close(ends[0]);
  close(ends[1]);
}
