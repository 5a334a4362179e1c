// kaehost apply in several network namespaces at a time.

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "devhost/kaehost/apply/shared_results.h"
#include "devhost/kaehost/kernel/journal_folder.h"
#include "devhost/kaehost/kernel/network_namespaces.h"
#include "devhost/kaehost/kernel/tunables.h"
#include "tests/devhost/support/json.h"
#include "tests/devhost/support/named_networks.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"
#include "tests/devhost/support/terminal.h"
#include "tests/support/soon.h"

namespace fs = std::filesystem;

using devhost::Compare;
using nlohmann::json;
using testing::AllOf;
using testing::AnyOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr const char* kFinTimeout = "ipv4/tcp_fin_timeout";

void Write(const std::string& tunable, const std::string& value) {
  std::ofstream("/proc/sys/net/" + tunable) << value << '\n';
}

std::vector<std::string> Journals() {
  const auto folder = devhost::JournalFolder::Open();
  return folder ? folder->Names() : std::vector<std::string>();
}

pid_t ChildOf(pid_t process) {
  const std::string id = std::to_string(process);
  pid_t child = 0;
  std::ifstream("/proc/" + id + "/task/" + id + "/children") >> child;
  return child;
}

// Goes on in a process namespace with a /proc of its own, in which kaehost can mount more of them.
void EnterProcesses() {
  unshare(CLONE_NEWPID | CLONE_NEWNS);
  const pid_t child = fork();
  if (child != 0) {
    int status = 0;
    waitpid(child, &status, 0);
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
  }
  mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr);
}

class SeveralNamespaces : public testing::Test {
 protected:
  SeveralNamespaces() {
    networks_.In("green", [] { Write(kFinTimeout, "37"); });
    before_ = networks_.Read();
  }

  // The tunables that are not as they were.
  std::vector<devhost::Change> Changes() const { return Compare(before_, networks_.Read()); }

  std::vector<std::string> Session(const std::vector<std::string>& words) const {
    std::vector<std::string> session = networks_.Options(words);
    session.insert(session.begin(), "apply");
    return session;
  }

  const PrivateRun run_;
  const NamedNetworks networks_{{"blue", "green", "red"}};
  const TempFolder folder_;
  const std::string document_ =
      folder_.Write("a.xml", "<tcp-settings><tcp_fin_timeout>20</tcp_fin_timeout></tcp-settings>");
  devhost::Tunables before_;
};

}  // namespace

TEST_F(SeveralNamespaces, HaveTheSettingsUntilTheyAreReleased) {
  for (const auto& prepare : {std::function<void()>(), std::function<void()>(EnterProcesses)}) {
    RunningKaehost session(Session({"--hold", document_}), prepare);
    ASSERT_TRUE(session.HasSaid(kHolding));
    for (const char* name : {"blue", "green", "red"}) {
      EXPECT_EQ(networks_.Value(name, kFinTimeout), "20");
    }
    EXPECT_EQ(Journals().size(), 3U);
    const pid_t child = ChildOf(session.pid());
    kill(prepare ? child : session.pid(), SIGTERM);
    const Outcome run = session.Finish();
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(
        run.out,
        AllOf(HasSubstr("kaehost: in 3 network namespaces; their tunables will be restored\n"),
              HasSubstr("kaehost: reply: success (namespaces: 3)\n"),
              ContainsRegex("\n  tcp_fin_timeout +applied +\\(several\\) +20 +20 +3\n"),
              ContainsRegex("\nkaehost: " + document_ + ": 3 applied, [0-9]+ overridden\n"),
              HasSubstr("\nkaehost: releasing the layers\n"),
              HasSubstr("\nkaehost: layers released; all tunables restored\n")));
    EXPECT_THAT(Changes(), IsEmpty());
    EXPECT_THAT(Journals(), IsEmpty());
  }
}

TEST_F(SeveralNamespaces, AreNamedWhereTheOutcomeIsAnother) {
  networks_.In("green", [] { Write("ipv4/ip_unprivileged_port_start", "30000"); });
  const std::string ports =
      folder_.Write("p.xml", "<tcp-settings><tcp_port_min>20000</tcp_port_min></tcp-settings>");
  const Outcome run = Kaehost(Session({"--quiet", ports}));
  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(run.out, AllOf(ContainsRegex("  tcp_port_min +rejected +32768 +20000 +32768 +1 of 3: "
                                           "green\n"),
                             HasSubstr(": 2 applied, 1 rejected")));
  EXPECT_THAT(Kaehost(Session({ports})).out,
              ContainsRegex("  tcp_port_min +applied +32768 +20000 +20000 +2 of 3: blue, red\n"));
}

TEST_F(SeveralNamespaces, AreNamedWhereARequestFails) {
  const char* const file = "/proc/sys/net/ipv4/tcp_retries2";
  networks_.In("green", [file] {
    constexpr unsigned long kFlags = MS_RDONLY | MS_NOSUID | MS_NODEV | MS_NOEXEC;
    mount(file, file, nullptr, MS_BIND, nullptr);
    mount(nullptr, file, nullptr, MS_BIND | MS_REMOUNT | kFlags, nullptr);
  });
  const Outcome run = Kaehost(Session({"--quiet", "--hold", document_}));
  networks_.In("green", [file] { umount2(file, MNT_DETACH); });
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out,
              AllOf(ContainsRegex("kaehost: reply: error: file error: .*/tcp_retries2\\]: .* "
                                  "\\(namespaces: 1 of 3: green\\)\n"),
                    Not(HasSubstr(kHolding))));
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_fin_timeout +restored +37 +20 +37 +1 of 3: green\n"));
  EXPECT_THAT(Changes(), IsEmpty());
}

TEST_F(SeveralNamespaces, AreInTheJsonWithTheFieldsOfOne) {
  const json several = Parsed(Kaehost(Session({"--json", document_})).out);
  const json one = Parsed(Kaehost({"apply", "--json", "--netns", "green", document_}).out);
  ASSERT_EQ(several["namespaces"].size(), 3U);
  EXPECT_EQ(several["namespaces"][1]["where"], "green");
  std::set<std::string> fields;
  for (const json& part : {several, several["namespaces"][1]}) {
    for (const auto& [field, value] : part.items()) {
      fields.insert(field);
      EXPECT_TRUE(field == "namespaces" || one.contains(field)) << field;
      if (field != "namespaces" && field != "progress") {
        EXPECT_EQ(value, one[field]);
      }
    }
  }
  EXPECT_EQ(fields.size(), one.size() + 1);
}

TEST_F(SeveralNamespaces, AreRefusedBeforeAnythingIsWritten) {
  const auto refused = [this](const std::vector<std::string>& more, const std::string& sentence) {
    std::vector<std::string> session = Session({document_, "--plugin=/nowhere"});
    session.insert(session.end(), more.begin(), more.end());
    const Outcome run = Kaehost(session);
    EXPECT_EQ(run.status, 77);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "kaehost: " + sentence + '\n');
    EXPECT_FALSE(fs::exists("/run/kaehost"));
  };
  refused({"--netns", "blue"}, "blue and blue are the same network namespace; name it once");
  refused({"--netns", "/run/netns/../netns/red"},
          "red and /run/netns/../netns/red are the same network namespace; name it once");
  refused({"--netns", "none"},
          "cannot enter the network namespace /run/netns/none: No such file or directory; list the "
          "namespaces by 'ip netns list', and run as root");
  refused({"--netns", "/proc/self/ns/net"},
          "/proc/self/ns/net: this network namespace is the machine's own, in which kaehost was "
          "started; use --live to change its tunables");
}

// The last of them.
TEST_F(SeveralNamespaces, AreAllRefusedIfOneHasASession) {
  RunningKaehost first({"apply", "--hold", "--netns", "red", document_});
  ASSERT_TRUE(first.HasSaid(kHolding));
  const auto held = networks_.Read();
  const Outcome run = Kaehost(Session({document_}));
  EXPECT_EQ(run.status, 77);
  EXPECT_THAT(run.err, MatchesRegex("kaehost: /run/kaehost/net-[0-9]+: in use since .*\n"));
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(Journals().size(), 1U);
  EXPECT_THAT(Compare(held, networks_.Read()), IsEmpty());
  kill(first.pid(), SIGTERM);
  EXPECT_EQ(first.Finish().status, 0);
}

TEST_F(SeveralNamespaces, AreRestoredIfThePluginsProcessIsKilled) {
  RunningKaehost session(Session({"--hold", document_}));
  ASSERT_TRUE(session.HasSaid(kHolding));
  kill(ChildOf(session.pid()), SIGKILL);
  const Outcome run = session.Finish();
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, ContainsRegex("the plug-in's process was killed by signal 9 \\(Killed\\) "
                                     "during the hold; kaehost restored [0-9]+ tunables\n"));
  EXPECT_THAT(Changes(), IsEmpty());
  EXPECT_THAT(Journals(), IsEmpty());
}

TEST_F(SeveralNamespaces, AreRestoredByThePluginIfKaehostIsKilled) {
  const NamedNetworks more({"white"});
  const std::vector<std::string> again = Session({"--netns", "white", document_});
  RunningKaehost session(Session({"--netns", "white", "--hold", document_}));
  ASSERT_TRUE(session.HasSaid(kHolding));
  kill(session.pid(), SIGKILL);
  EXPECT_EQ(session.Finish().status, 128 + SIGKILL);
  EXPECT_TRUE(Soon([this] { return Changes().empty(); }));
  Outcome next;
  EXPECT_TRUE(Soon([&] {
    next = Kaehost(again);
    return next.status != 77;
  }));
  EXPECT_EQ(next.status, 0) << next.err;
  EXPECT_THAT(next.out, ContainsRegex("was killed, but no tunable differs; journal deleted\n"
                                      "kaehost: ... and 1 more\n"));
}

TEST_F(SeveralNamespaces, KeepTheirJournalsIfBothProcessesAreKilled) {
  RunningKaehost session(Session({"--hold", document_}));
  ASSERT_TRUE(session.HasSaid(kHolding));
  kill(session.pid(), SIGSTOP);  // it must not restore in between
  kill(ChildOf(session.pid()), SIGKILL);
  kill(session.pid(), SIGKILL);
  session.Finish();
  EXPECT_THAT(Changes(), Not(IsEmpty()));
  EXPECT_THAT(Kaehost(Session({document_})).err, HasSubstr("run 'kaehost restore --netns "));
  for (const char* name : {"blue", "green", "red"}) {
    EXPECT_EQ(Kaehost({"restore", "--netns", name}).status, 0);
  }
  EXPECT_THAT(Changes(), IsEmpty());
}

TEST_F(SeveralNamespaces, AreRestoredByKaehostIfThePluginDoesNot) {
  const Outcome run = Kaehost(Session({document_, "--plugin", TestPlugin("restores_nothing")}));
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, ContainsRegex("not restored by the layers, but by kaehost:\n.*\n  blue: "
                                     "ipv4/ip_local_port_range .*\n"));
  EXPECT_THAT(run.out, ContainsRegex("\n  red: ipv4/tcp_sack +1 +0\n"));
  EXPECT_THAT(run.out, Not(HasSubstr("[do_Release]"))) << "lines of the plug-in";
  EXPECT_THAT(Changes(), IsEmpty());
}

TEST_F(SeveralNamespaces, ShowASmallPartOfManyChanges) {
  std::vector<std::string> names;
  for (int i = 0; i < 21; ++i) {
    names.push_back('n' + std::to_string(i));
  }
  const NamedNetworks networks(names);
  std::vector<std::string> session =
      networks.Options({document_, "--quiet", "--plugin", TestPlugin("restores_nothing")});
  session.insert(session.begin(), "apply");
  const Outcome run = Kaehost(session);
  EXPECT_THAT(run.out, ContainsRegex("\n  n19: ipv4/tcp_sack +1 +0\n"
                                     "kaehost: ... and 3 more; --json has all\n"));
}

TEST_F(SeveralNamespaces, AreRestoredIfTheLoadedPluginMakesNoLayer) {
  setenv("MISBEHAVES", "GetNewLayer crash", 1);
  const Outcome run = Kaehost(Session({document_, "--plugin", TestPlugin("misbehaves")}));
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.out, HasSubstr("kaehost: kaehost restored 1 tunable\n"));
  EXPECT_THAT(Changes(), IsEmpty());
  EXPECT_THAT(Journals(), IsEmpty());
}

// Neither when it is loaded nor at its end.
TEST_F(SeveralNamespaces, AreTheOnlyOnesThatThePluginReaches) {
  const auto machine = devhost::ReadTunables();
  for (const char* plugin : {"changes_when_loaded", "changes_at_its_end"}) {
    const Outcome run = Kaehost(Session({document_, "--plugin", TestPlugin(plugin)}));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, HasSubstr("not restored by the layers, but by kaehost:\n"));
    EXPECT_THAT(Changes(), IsEmpty());
    EXPECT_THAT(Compare(machine, devhost::ReadTunables()), IsEmpty());
  }
}

TEST_F(SeveralNamespaces, EndEarlyAfterASignal) {
  setenv("MISBEHAVES", "do_Configure interrupt late", 1);
  const Outcome run = Kaehost(
      Session({document_, document_, "--kill-after=9", "--plugin", TestPlugin("misbehaves")}));
  EXPECT_EQ(run.status, 128 + SIGTERM);
  EXPECT_THAT(run.out, AllOf(HasSubstr("kaehost: reply: success (namespaces: 1 of 3: blue)\n"),
                             HasSubstr("kaehost: interrupted; not delivered: " + document_),
                             HasSubstr("all tunables restored\n")));
  EXPECT_THAT(Changes(), IsEmpty());
}

TEST_F(SeveralNamespaces, AreNotPreparedAfterASignal) {
  const auto interrupt = [] {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    std::raise(SIGTERM);
  };
  const std::vector<std::string> session = Session({document_, "--plugin=/nowhere", "--json"});
  const json found = Parsed(Kaehost(session, interrupt).out);
  EXPECT_EQ(found["error"], "interrupted by signal 15 (Terminated) before the first request");
  EXPECT_EQ(found["status"], 128 + SIGTERM);
  EXPECT_THAT(Journals(), IsEmpty());
}

TEST_F(SeveralNamespaces, GetNoMoreLayersAfterASignal) {
  setenv("MISBEHAVES", "GetNewLayer interrupt and change", 1);
  const Outcome run = Kaehost(Session({document_, "--plugin", TestPlugin("misbehaves")}));
  EXPECT_EQ(run.status, 128 + SIGTERM);
  EXPECT_THAT(run.err, EndsWith("kaehost: interrupted by signal 15 (Terminated) before the first "
                                "request; nothing was delivered\n"));
  EXPECT_THAT(run.out, ContainsRegex("kaehost: kaehost restored [12] tunables?\n"));
  EXPECT_THAT(Changes(), IsEmpty());
  EXPECT_THAT(Journals(), IsEmpty());
}

TEST_F(SeveralNamespaces, HaveEachTheirTimeToBeReleasedAfterASignal) {
  setenv("MISBEHAVES", "GetNewLayer interrupt and release slowly", 1);
  const Outcome run =
      Kaehost(Session({document_, "--kill-after=2", "--plugin", TestPlugin("misbehaves")}));
  EXPECT_EQ(run.status, 128 + SIGTERM);
  EXPECT_THAT(run.out, Not(HasSubstr("kaehost restored")));
  EXPECT_THAT(Changes(), IsEmpty());
}

TEST_F(SeveralNamespaces, SayWhichOfThemThePluginDiedIn) {
  setenv("MISBEHAVES", "do_Configure crash", 1);
  const Outcome run = Kaehost(Session({document_, "--plugin", TestPlugin("misbehaves")}));
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr(" during request 1 of 1: " + document_ +
                                 ", in blue; kaehost restored 1 tunable\n"));
  setenv("MISBEHAVES", "do_Release crash the second time", 1);
  EXPECT_THAT(Kaehost(Session({document_, "--plugin", TestPlugin("misbehaves")})).out,
              HasSubstr(" during the release, in green; kaehost restored 1 tunable\n"));
  setenv("MISBEHAVES", "destructor crash", 1);
  EXPECT_THAT(Kaehost(Session({document_, "--plugin", TestPlugin("misbehaves")})).out,
              HasSubstr(" during the release; kaehost restored "));
  setenv("MISBEHAVES", "GetNewLayer crash", 1);
  EXPECT_THAT(Kaehost(Session({document_, "--plugin", TestPlugin("misbehaves")})).err,
              HasSubstr(" (Segmentation fault), in blue; nothing was delivered\n"));
}

TEST_F(SeveralNamespaces, CanBeNamedByAFile) {
  const std::string file = folder_.Write("names", "# all\n\n  blue \t\r\n/run/netns/green\n");
  const Outcome run = Kaehost({"apply", "--netns-file", file, "--netns", "red", document_});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("kaehost: in 3 network namespaces;"));
  const std::string one = folder_.Write("one",
                                        "\xef\xbb\xbf"
                                        "blue");
  EXPECT_EQ(Kaehost({"apply", "--netns-file", one, document_}).out,
            Kaehost({"apply", "--netns", "blue", document_}).out);
}

TEST_F(SeveralNamespaces, AreNotNamedByABadFile) {
  const auto refused = [this](const std::string& file, const std::string& sentence) {
    const Outcome run = Kaehost({"apply", "--netns-file", file, document_});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kaehost: " + sentence + '\n');
  };
  const std::string empty = folder_.Write("empty", "# none\n\n");
  refused(empty, empty + ": names no network namespace; write a name or path in each line");
  refused("/nowhere", "/nowhere: cannot read: No such file or directory");
  refused("/", "/: cannot read: Is a directory");
  refused("/dev/zero", "/dev/zero: longer than 1 MiB; name fewer network namespaces");
  const std::string with_nul = folder_.Write("nul", std::string("blue\0x", 6));
  refused(with_nul, with_nul +
                        ": contains a NUL byte; write the name or path of a network "
                        "namespace in each line");
}

TEST_F(SeveralNamespaces, HaveNoCommandAndNoTrace) {
  const Outcome command = Kaehost(Session({document_, "--", "true"}));
  EXPECT_EQ(command.status, 2);
  EXPECT_THAT(command.err, HasSubstr("kaehost: a command after '--' needs one network namespace; "
                                     "use --hold to keep the settings in several\n"));
  const Outcome trace = Kaehost(Session({document_, "--trace"}));
  EXPECT_EQ(trace.status, 2);
  EXPECT_THAT(trace.err, HasSubstr("kaehost: --trace: needs one network namespace; name one"));
  EXPECT_THAT(Kaehost({"apply", "--netns-file", "-", "-"}).err,
              HasSubstr("kaehost: '-' is there twice, but standard input can be read only once"));
}

TEST_F(SeveralNamespaces, NeedEnoughOpenFiles) {
  const Outcome run = Kaehost(Session({document_}), [] {
    for (int file = STDERR_FILENO + 1; file < 1024; ++file) {
      close(file);
    }
    LimitOpenFiles();
  });
  EXPECT_EQ(run.status, 77);
  EXPECT_THAT(run.err,
              MatchesRegex("kaehost: 3 network namespaces need 6[5-9] open files, but this "
                           "process can open only 32; raise the hard limit \\(ulimit -Hn\\), or "
                           "name fewer namespaces\n"));
}

TEST_F(SeveralNamespaces, RaiseTheLimitOfOpenFiles) {
  const Outcome run = Kaehost(Session({"--quiet", document_}), [] {
    const rlimit limit = {16, 80};
    setrlimit(RLIMIT_NOFILE, &limit);
  });
  EXPECT_EQ(run.status, 0) << run.err;
}

// With the highest number, kaehost has no room left when it counts them.
TEST_F(SeveralNamespaces, HaveRoomBesideInheritedFiles) {
  for (const int last : {70, 74}) {
    const Outcome run = Kaehost(Session({"--quiet", document_}), [last] {
      constexpr int kMost = 80;
      for (int file = STDERR_FILENO + 1; file < kMost; ++file) {
        file <= last ? dup2(STDERR_FILENO, file) : close(file);
      }
      const rlimit limit = {kMost, 1024};
      setrlimit(RLIMIT_NOFILE, &limit);
    });
    EXPECT_EQ(run.status, 0) << last << run.err;
  }
}

TEST_F(SeveralNamespaces, AreNotWrittenIfProcIsReadOnly) {
  const Outcome run = Kaehost(Session({document_}), [] {
    EnterProcesses();
    MountReadOnly("/proc/sys");
  });
  EXPECT_EQ(run.status, 77);
  EXPECT_THAT(run.err, HasSubstr("blue: /proc/sys/net/ipv4/tcp_sack: cannot open for writing: "
                                 "Read-only file system; "));
}

TEST_F(SeveralNamespaces, HaveAPluginFromTheWorkingFolder) {
  fs::copy_file(TestPlugin("working"), folder_.Path("here.so"));
  for (const auto& prepare :
       {std::function<void()>([] {}), std::function<void()>(EnterProcesses)}) {
    const Outcome run = Kaehost(Session({document_, "--plugin", "here.so"}), [&] {
      prepare();
      [[maybe_unused]] const int entered = chdir(folder_.Path("").c_str());
    });
    EXPECT_THAT(run.out, HasSubstr("kaehost: plug-in test plug-in, version 1.0\n")) << run.err;
  }
}

// The mounts of a namespace begin at the real root.
TEST_F(SeveralNamespaces, StayBelowAChangedRoot) {
  const std::string root = folder_.Path("root");
  fs::create_directory(root);
  for (const auto& prepare :
       {std::function<void()>([] {}), std::function<void()>(EnterProcesses)}) {
    const Outcome run = Kaehost(Session({document_, "--whole-catalogue"}), [&] {
      prepare();
      unshare(CLONE_NEWNS);
      mount("/", root.c_str(), nullptr, MS_BIND | MS_REC, nullptr);
      umount2("/proc", MNT_DETACH);
      if (chroot(root.c_str()) != 0 || chdir("/") != 0) {
        _exit(126);
      }
    });
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("layers released; all tunables restored\n"));
  }
  EXPECT_THAT(Changes(), IsEmpty());
}

TEST_F(SeveralNamespaces, ShowTheProgressOnATerminalOnly) {
  setenv("MISBEHAVES", "do_Configure change late", 1);
  const std::vector<std::string> session =
      Session({document_, "--plugin", TestPlugin("misbehaves")});
  const auto has_bar = [&](const std::string& bar) {
    return HasSubstr("\r\x1b[K\x1b[?7l" + bar + " request 1 of 1: " + document_ + "\x1b[?7h");
  };
  Terminal terminal;
  Kaehost(session, [&] { terminal.TakeErrors(); });
  // On a busy machine the first bar can come too soon to be shown.
  EXPECT_THAT(terminal.Shown(), AllOf(AnyOf(has_bar("[######              ] 1/3"),
                                            has_bar("[#############       ] 2/3")),
                                      EndsWith("\r\x1b[K")))
      << "a long line is cut";
  EXPECT_EQ(Kaehost(session).err, "");
}

TEST_F(SeveralNamespaces, ShowNoMessageBesideTheProgress) {
  setenv("MISBEHAVES", "do_Configure close the namespaces late", 1);
  const std::vector<std::string> session =
      Session({document_, "--plugin", TestPlugin("misbehaves")});
  const std::string message = "kaehost: cannot enter the network namespace /run/netns/red: ";
  Terminal terminal;
  const Outcome run = Kaehost(session, [&] { terminal.TakeErrors(); });
  EXPECT_THAT(run.out, ContainsRegex("the plug-in's process ended with status 1 during request 1 "
                                     "of 1: .*, in red; kaehost restored "));
  EXPECT_THAT(terminal.Shown(),
              AllOf(HasSubstr("/3 request 1 of 1: "), HasSubstr("\r\x1b[K" + message)));
  EXPECT_THAT(Kaehost(session).err, StartsWith(message));
}

TEST(SharedResults, NameThreeNamespacesOrAll) {
  EXPECT_EQ(devhost::CountOf({"a", "b", "c", "d"}, 4, false), "4");
  EXPECT_EQ(devhost::CountOf({"a", "b", "c"}, 4, false), "3 of 4: a, b, c");
  EXPECT_EQ(devhost::CountOf({"a", "b", "c", "d"}, 5, false), "4 of 5: a, b, c, ...");
  EXPECT_EQ(devhost::CountOf({"a", "b", "c", "d"}, 5, true), "4 of 5: a, b, c, d");
}

// In a process of its own: its mounts are other ones.
TEST(NetworkNamespaces, HaveAProcOfTheirOwnInGroupsOfTen) {
  const PrivateRun run;
  std::vector<std::string> names;
  for (int i = 0; i < 12; ++i) {
    names.push_back('n' + std::to_string(i));
  }
  const NamedNetworks networks(names);
  networks.In("n11", [] { Write(kFinTimeout, "37"); });
  const pid_t child = fork();
  if (child == 0) {
    EnterProcesses();
    const auto inode = [](const char* kind) {
      return fs::read_symlink(std::string("/proc/self/ns/") + kind).string();
    };
    const auto timeout = [] { return devhost::ReadTunables().at(kFinTimeout).text; };
    const std::string home = inode("mnt") + inode("net");
    const fs::path folder = fs::current_path();
    devhost::NetworkNamespaces all(names);
    bool is_right = home == inode("mnt") + inode("net") && folder == fs::current_path();
    all.Enter(0);
    const std::string first = inode("mnt");
    const std::string network = inode("net");
    is_right = is_right && timeout() == "60" && first + network != home;
    all.Enter(9);
    is_right = is_right && inode("mnt") == first && inode("net") != network;
    all.Enter(11);
    is_right = is_right && inode("mnt") != first && timeout() == "37";
    is_right = is_right && folder == fs::current_path();
    _exit(is_right ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}
