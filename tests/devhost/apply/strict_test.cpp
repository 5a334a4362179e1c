// Requested values that the kernel itself does not have: how kaehost apply tells them, and its exit
// status.

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "devhost/kaehost/apply/session_result.h"
#include "tests/devhost/support/json.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;

namespace {

// Makes "the machine" have a tunable. The mount is seen in this network namespace only.
void HaveATunableOfTheMachine() {
  if (unshare(CLONE_NEWNS) != 0 ||
      mount("none", "/proc", "none", MS_REC | MS_PRIVATE, nullptr) != 0 ||
      mount("tmpfs", "/proc/sys/net/ipv4", "tmpfs", 0, nullptr) != 0 ||
      !(std::ofstream("/proc/sys/net/ipv4/tcp_mem") << "1\t2\t3\n").flush()) {
    _exit(99);
  }
}

class Strict : public testing::Test {
 protected:
  std::string Naming(const std::string& element, const std::string& value) const {
    return folder_.Write(element + ".xml", "<tcp-settings><" + element + ">" + value + "</" +
                                               element + "></tcp-settings>");
  }

  const TempFolder folder_;
};

using MachineOnly = Strict;

}  // namespace

TEST_F(MachineOnly, IsAFileThatThisNamespaceHasNot) {
  const Outcome run =
      Kaehost({"apply", "--quiet", Naming("tcp_mem_low", "1")}, HaveATunableOfTheMachine);
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_mem_low +machine-only +- +1 +-\n"));
  EXPECT_THAT(run.out, HasSubstr(": 1 machine-only, "));
}

TEST_F(MachineOnly, IsInTheJsonDocument) {
  const json told = Parsed(
      Kaehost({"apply", "--json", Naming("tcp_mem_high", "1")}, HaveATunableOfTheMachine).out);
  EXPECT_EQ(told["requests"][0]["counts"]["machine-only"], 1);
}

TEST_F(MachineOnly, IsNoFileThatTheMachineHasNotEither) {
  const Outcome run = Kaehost({"apply", Naming("tcp_bic", "1")}, HaveATunableOfTheMachine);
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_bic +missing +- +1 +-\n"));
}

TEST_F(MachineOnly, IsNoFileThatIsEmulated) {
  const Outcome run =
      Kaehost({"apply", "--whole-catalogue", Naming("tcp_mem_low", "7")}, HaveATunableOfTheMachine);
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_mem_low +applied +1 +7 +7 \\(emulated\\)\n"));
  EXPECT_THAT(run.out, HasSubstr("\nkaehost: layer released; all tunables restored\n"));
  EXPECT_EQ(run.status, 0);
}

TEST_F(Strict, CountsFilesThatAreNotThere) {
  const std::string missing = Naming("tcp_bic", "1");
  EXPECT_EQ(Kaehost({"apply", missing}).status, 0);
  EXPECT_EQ(Kaehost({"apply", "--strict", missing}).status, 4);
  const std::string elsewhere = Naming("tcp_mem_low", "1");
  EXPECT_EQ(Kaehost({"apply", "--strict", elsewhere}, HaveATunableOfTheMachine).status, 4);
}

TEST_F(Strict, CountsRequestedFilesThatAreEmulated) {
  const std::string core = Naming("rmem_max", "5000");
  EXPECT_EQ(Kaehost({"apply", core}).status, 0);
  EXPECT_EQ(Kaehost({"apply", "--strict", core}).status, 4);  // emulated, or missing
}

TEST_F(Strict, IsContentWithWhatTheKernelHas) {
  EXPECT_EQ(Kaehost({"apply", "--strict", Naming("tcp_sack", "0")}).status, 0);
  EXPECT_EQ(Kaehost({"apply", "--strict", Naming("tcp_sack", "1")}).status, 0);
}

// The first request writes a value to tcp_ecn that the document does not name.
TEST_F(Strict, LooksAtRequestedValuesOnly) {
  const std::vector<std::string> arguments = {"apply", "--strict", "--whole-catalogue",
                                              Naming("tcp_sack", "0")};
  EXPECT_EQ(Kaehost(arguments).status, 0);
}

TEST(SessionResult, IsAsRequestedAlsoIfOtherFilesAreEmulated) {
  devhost::NamespaceResult result;
  result.emulated = {"core/rmem_max"};
  devhost::Outcome& outcome = result.requests.emplace_back().outcomes.emplace_back();
  outcome = {devhost::FindInCatalogue("rmem_max"), devhost::Fate::kOverridden, {}, "1", "2"};
  EXPECT_TRUE(result.IsAsAsked(true));
  outcome.asked = "2";
  EXPECT_FALSE(result.IsAsAsked(true));
  EXPECT_TRUE(result.IsAsAsked(false));
}

TEST_F(Strict, HoldsAfterACommandToo) {
  const std::string missing = Naming("tcp_bic", "1");
  EXPECT_EQ(Kaehost({"apply", missing, "--", "true"}).status, 0);
  EXPECT_EQ(Kaehost({"apply", "--strict", missing, "--", "true"}).status, 4);
  EXPECT_EQ(Kaehost({"apply", "--strict", missing, "--", "false"}).status, 1);
}
