// What a private namespace starts from: the values of "the machine", here of the test's namespace.

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "tests/devhost/support/json.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class StartValues : public testing::Test {
 protected:
  StartValues() {
    for (const char* name : kNames) {
      std::ifstream file(Path(name));
      std::getline(file, before_.emplace_back());
    }
    Set("tcp_keepalive_probes", "4");
    Set("tcp_rmem", "5000 6000 7000");
  }
  ~StartValues() override {
    for (std::size_t i = 0; i < before_.size(); ++i) {
      Set(kNames[i], before_[i]);
    }
  }

  static std::string Path(const std::string& name) { return "/proc/sys/net/ipv4/" + name; }

  static void Set(const std::string& name, const std::string& value) {
    std::ofstream(Path(name)) << value;
  }

  static constexpr const char* kNames[] = {"tcp_keepalive_probes", "tcp_rmem",
                                           "ip_local_port_range",  "ip_unprivileged_port_start",
                                           "igmp_max_memberships", "ping_group_range"};

  std::vector<std::string> before_;
  const TempFolder folder_;
  const std::string document_ =
      folder_.Write("document.xml",
                    "<tcp-settings><tcp_keepalive_probes>4</tcp_keepalive_probes>"
                    "<tcp_rmem_min>5000</tcp_rmem_min><tcp_rmem_default>8000</tcp_rmem_default>"
                    "</tcp-settings>");
};

}  // namespace

TEST_F(StartValues, AreTheMachines) {
  const Outcome run = Kaehost({"apply", "--verbose", document_});
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_keepalive_probes +unchanged +4 +4 +4\n"));
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_rmem_default +applied +6000 +8000 +8000\n"));
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_rmem_max +overridden +7000 +- +174760\n"));
  EXPECT_THAT(run.out, Not(HasSubstr("not as on the machine")));
  EXPECT_THAT(run.out, HasSubstr("all tunables restored\n"));
}

TEST_F(StartValues, AreTheKernelsOnRequest) {
  const Outcome run = Kaehost({"apply", "--initial-values", document_});
  EXPECT_THAT(run.out, StartsWith("kaehost: in a private namespace with the kernel's initial "
                                  "values; the machine's own tunables are out of reach\n"));
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_keepalive_probes +applied +9 +4 +4\n"));
}

// The kernel rejects ports that only root may use, unless another tunable allows them.
TEST_F(StartValues, ThatTheKernelRejectsAreTold) {
  Set("ip_unprivileged_port_start", "80");
  Set("ip_local_port_range", "100 201");
  EXPECT_THAT(Kaehost({"apply", document_}).out,
              HasSubstr("kaehost: not as on the machine at the start: ipv4/ip_local_port_range\n"));
  const json told = Parsed(Kaehost({"apply", "--json", document_}).out);
  EXPECT_EQ(told["not_copied"], json({"ipv4/ip_local_port_range"}));
  const json initial = Parsed(Kaehost({"apply", "--json", "--initial-values", document_}).out);
  EXPECT_EQ(initial["not_copied"], json::array());
}

// The other tunables matter to nobody but a command, or those who enter a held namespace. They come
// first, because they can be what the catalogue's depend on.
TEST_F(StartValues, AreTheMachinesForACommandInOtherTunablesToo) {
  Set("igmp_max_memberships", "33");
  Set("ip_unprivileged_port_start", "80");
  Set("ip_local_port_range", "100 201");
  const auto run = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.end(),
                     {"--", "cat", Path("igmp_max_memberships"), Path("ip_unprivileged_port_start"),
                      Path("ip_local_port_range")});
    return Kaehost(arguments).out;
  };
  const std::string out = run({"apply", document_});
  EXPECT_THAT(out, HasSubstr("\n33\n80\n100\t201\n"));
  EXPECT_THAT(out, Not(HasSubstr("not as on the machine")));
  EXPECT_THAT(run({"apply", "--initial-values", document_}),
              HasSubstr("\n20\n1024\n32768\t60999\n"));
}

TEST_F(StartValues, AreTheMachinesInAHeldNamespaceInOtherTunablesToo) {
  Set("igmp_max_memberships", "33");
  RunningKaehost kaehost({"apply", "--hold", document_});
  ASSERT_TRUE(kaehost.HasSaid("holding the settings"));
  const std::string enter =
      "nsenter --target " + std::to_string(kaehost.pid()) + " --user --net --preserve-credentials ";
  EXPECT_EQ(std::system((enter + "grep -qx 33 " + Path("igmp_max_memberships")).c_str()), 0);
  kill(kaehost.pid(), SIGTERM);
  EXPECT_EQ(kaehost.Finish().status, 0);
}

// Its numbers are those of groups, which another namespace of users does not have.
TEST_F(StartValues, DoNotIncludeGroups) {
  Set("ping_group_range", "0 0");
  const std::string out = Kaehost({"apply", document_, "--", "cat", Path("ping_group_range")}).out;
  EXPECT_THAT(out, Not(HasSubstr("\n0\t0\n")));
  EXPECT_THAT(out, ContainsRegex("\n[0-9]+\t[0-9]+\n"));
}

TEST_F(StartValues, AreNotWrittenElsewhere) {
  for (const std::vector<std::string>& option :
       {std::vector<std::string>{"--live"}, {"--netns", "/proc/self/ns/net"}}) {
    std::vector<std::string> arguments = {"apply", document_, "--initial-values"};
    arguments.insert(arguments.end(), option.begin(), option.end());
    const Outcome run = Kaehost(arguments);
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("mutually exclusive"));
  }
}
