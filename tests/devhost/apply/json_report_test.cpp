// kaehost apply --json: what it finds, for programs.

#include <gmock/gmock.h>
#include <sched.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/devhost/support/json.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::Contains;
using testing::IsEmpty;

namespace {

class Json : public testing::Test {
 protected:
  static void ExpectRefused(std::vector<std::string> arguments, int status,
                            const std::string& error) {
    arguments.insert(arguments.begin(), {"apply", "--json"});
    const Outcome run = Kaehost(arguments);
    EXPECT_EQ(run.status, status) << error;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(json::parse(run.out, nullptr, false), json({{"error", error}, {"status", status}}));
  }

  const TempFolder folder_;
  // One value of each kind that a request can have in a private namespace.
  const std::string document_ =
      folder_.Write("document.xml",
                    "<tcp-settings><tcp_sack>1</tcp_sack><tcp_bic>0</tcp_bic>"
                    "<tcp_fin_timeout>20 30</tcp_fin_timeout><tcp_frto>no</tcp_frto>"
                    "<tcp_keepalive_time>0x3c</tcp_keepalive_time></tcp-settings>");
};

}  // namespace

TEST_F(Json, IsOneDocumentWithAllOfIt) {
  const Outcome run = Kaehost({"apply", "--json", document_});
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.err, "");
  const json told = Parsed(run.out);
  EXPECT_EQ(told["error"], nullptr);
  EXPECT_EQ(told["where"], "private");
  EXPECT_EQ(told["plugin"], "TCP, version 001.000");
  EXPECT_EQ(told["command_status"], nullptr);
  EXPECT_EQ(told["interrupted_by"], nullptr);
  EXPECT_EQ(told["release_thrown"], nullptr);
  EXPECT_EQ(told["restored"], true);
  EXPECT_THAT(told["not_restored"], IsEmpty());
  EXPECT_EQ(told["unread"], json::array());
  EXPECT_EQ(told["status"], 4);
  EXPECT_THAT(told["progress"], Contains("reading previous config..."));
  EXPECT_THAT(told["progress"], Contains("Setting new value - tcp_sack = 1"));
  ASSERT_EQ(told["requests"].size(), 1U);
  const json& request = told["requests"][0];
  EXPECT_EQ(request["document"], document_);
  EXPECT_EQ(request["reply"], "success");
  EXPECT_EQ(request["error"], "");
  EXPECT_EQ(request["detail"], "");
  EXPECT_EQ(request["answered_again"], false);
  EXPECT_EQ(request["thrown"], nullptr);
  EXPECT_EQ(request["counts"], Parsed(R"({"applied": 1, "unchanged": 1, "adjusted": 1,
                                               "rejected": 1, "missing": 1, "overridden": 4})"));
  EXPECT_EQ(request["outcomes"].size(), 9U);
  EXPECT_EQ(request["outcomes"][0], Parsed(R"({
      "element": "tcp_bic", "file": "ipv4/tcp_bic", "position": 0, "outcome": "missing",
      "before": null, "asked": "0", "now": null, "emulated": false})"));
  EXPECT_EQ(request["outcomes"][1]["asked"], nullptr);
}

TEST_F(Json, TellsErrorsToo) {
  const std::string foreign = folder_.Write("foreign.xml", "<udp-settings/>");
  const json silent = Parsed(Kaehost({"apply", "--json", foreign}).out);
  EXPECT_EQ(silent["requests"][0]["reply"], "none");
  EXPECT_EQ(silent["status"], 1);

  const json thrown = Parsed(
      Kaehost({"apply", "--json", document_, "--plugin", TestPlugin("configure_throws")}).out);
  EXPECT_EQ(thrown["requests"][0]["thrown"], "no memory for a value");

  const json spoilt =
      Parsed(Kaehost({"apply", "--json", document_, "--plugin", TestPlugin("release_throws")}).out);
  EXPECT_EQ(spoilt["release_thrown"], "cannot restore");

  const json left = Parsed(
      Kaehost({"apply", "--json", document_, "--plugin", TestPlugin("restores_nothing")}).out);
  EXPECT_EQ(left["status"], 1);
  EXPECT_EQ(left["restored"], true);
  EXPECT_THAT(left["not_restored"], IsEmpty());
  EXPECT_THAT(left["restored_by_kaehost"], Contains(Parsed(R"({
      "tunable": "ipv4/tcp_sack", "before": "1", "now": "0"})")));

  const json stopped = Parsed(
      Kaehost({"apply", "--json", document_, "--plugin", TestPlugin("interrupts_its_host")}).out);
  EXPECT_EQ(stopped["interrupted_by"], 15);
  EXPECT_EQ(stopped["status"], 143);

  if (HasReadOnlyCoreFiles()) {
    const json refused = Parsed(Kaehost({"apply", "--json", "--as-is", document_}).out);
    EXPECT_EQ(refused["requests"][0]["error"], "file error");
    EXPECT_EQ(refused["requests"][0]["detail"], "[/proc/sys/net/core/rmem_max]: Permission denied");
    EXPECT_THAT(refused["emulated"], IsEmpty());
  }
}

TEST_F(Json, TellsWhatTheCommandChanged) {
  const json told = Parsed(Kaehost({"apply", "--json", document_, "--", "sh", "-c",
                                    "echo 41 >/proc/sys/net/ipv4/tcp_fin_timeout"})
                               .out);
  EXPECT_EQ(told["changed_by_others"][0]["tunable"], "ipv4/tcp_fin_timeout");
  EXPECT_EQ(told["changed_by_others"][0]["now"], "41");
  EXPECT_EQ(told["changed_by_others"].size(), 1U);
}

TEST_F(Json, TellsThePositionOfEachElementInItsFile) {
  const std::string document = folder_.Write(
      "positions.xml",
      "<tcp-settings><tcp_rmem_min>8192</tcp_rmem_min><tcp_rmem_default>65536</tcp_rmem_default>"
      "<tcp_rmem_max>131072</tcp_rmem_max><tcp_port_max>50001</tcp_port_max></tcp-settings>");
  const json told = Parsed(Kaehost({"apply", "--json", document}).out);
  json positions;
  for (const json& outcome : told["requests"][0]["outcomes"]) {
    positions[outcome["element"].get<std::string>()] = outcome["position"];
  }
  EXPECT_EQ(positions["tcp_rmem_min"], 0);
  EXPECT_EQ(positions["tcp_rmem_default"], 1);
  EXPECT_EQ(positions["tcp_rmem_max"], 2);
  EXPECT_EQ(positions["tcp_port_max"], 1);
}

TEST_F(Json, SaysThatALayerRepliedAgain) {
  const json told =
      Parsed(Kaehost({"apply", "--json", document_, "--plugin", TestPlugin("replies_twice")}).out);
  EXPECT_EQ(told["requests"][0]["answered_again"], true);
}

TEST_F(Json, HasNoRequestsAfterASignalBeforeTheFirst) {
  const json told = Parsed(
      Kaehost({"apply", "--json", document_, "--plugin", TestPlugin("interrupts_when_loaded")})
          .out);
  EXPECT_EQ(told["requests"], json::array());
}

TEST_F(Json, SaysWhyNothingWasDone) {
  const std::string nowhere = folder_.Path("nowhere.xml");
  ExpectRefused({nowhere}, 2, nowhere + ": cannot be read: No such file or directory");
  const std::string broken = TestPlugin("null_pointer");
  ExpectRefused({document_, "--plugin", broken}, 3,
                broken + ": not a plug-in: its this_kae_plugin is null");
  ExpectRefused({document_, "--netns", "/nowhere"}, 77,
                "cannot enter the network namespace /nowhere: No such file or directory; list the "
                "namespaces by 'ip netns list', and run as root");
}

TEST_F(Json, SaysWhere) {
  const PrivateRun run;
  const std::string here = "/proc/" + std::to_string(getpid()) + "/ns/net";
  const json told = Parsed(
      Kaehost({"apply", "--json", "--netns", here, document_}, [] { unshare(CLONE_NEWNET); }).out);
  EXPECT_EQ(told["where"], here);
}

TEST_F(Json, TakesTextThatIsNoUtf8) {
  const std::string odd = folder_.Write("odd-\xff.xml", "<tcp-settings/>");
  EXPECT_EQ(Parsed(Kaehost({"apply", "--json", odd}).out)["status"], 0);
}

TEST_F(Json, AndQuietExcludeEachOther) {
  const Outcome run = Kaehost({"apply", "--json", "--quiet", document_});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "kaehost: options '--json' and '--quiet' are mutually exclusive\nTry 'kaehost apply "
            "--help' for more information.\n");
}
