// kaehost list: the elements with the values of "the machine", here of the test's namespace.

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
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
using testing::Not;
using testing::StartsWith;

namespace {

class List : public testing::Test {
 protected:
  List() {
    Set("tcp_fin_timeout", "37");
    Set("tcp_rmem", "5000 6000 7000");
    Set("tcp_adv_win_scale", "-2");
  }

  static void Set(const std::string& name, const std::string& value) {
    std::ofstream("/proc/sys/net/ipv4/" + name) << value;
  }

  static json Listed(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"list", "--json"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return Parsed(Kaehost(all).out)["elements"];
  }

  static auto Lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

  const PrivateRun run_;
};

// The kernel lets nobody read net/ipv4/route/flush.
void MakeATunableWriteOnly() {
  if (unshare(CLONE_NEWNS) != 0 ||
      mount("/proc/sys/net/ipv4/route/flush", "/proc/sys/net/ipv4/tcp_fack", "none", MS_BIND,
            nullptr) != 0) {
    _exit(99);
  }
}

void HideTunables() {
  if (unshare(CLONE_NEWNS) != 0 ||
      mount("none", "/proc/sys/net", "tmpfs", MS_RDONLY, "mode=0") != 0) {
    _exit(99);
  }
  BecomeOrdinaryUser();
}

}  // namespace

TEST_F(List, ShowsEachElementInALine) {
  const Outcome run = Kaehost({"list"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out,
              AllOf(StartsWith("  element "),
                    ContainsRegex("\n  tcp_fin_timeout +37 +60 +yes +private +Seconds that "),
                    ContainsRegex("\n  tcp_rmem_default +6000 +87380 +yes +private +Initial "),
                    ContainsRegex("\n  tcp_sack +1 +1 +- +private +1 enables "),
                    ContainsRegex("\n  tcp_bic +missing +1 +- +- +1 selects ")));
  EXPECT_EQ(Lines(run.out), 1 + 57);
}

TEST_F(List, ShowsAllOfANamedElement) {
  EXPECT_EQ(Kaehost({"list", "tcp_tw_recycle", "tcp_rmem_max"}).out,
            "tcp_rmem_max: Largest receive buffer in bytes for automatic sizing\n"
            "  file       ipv4/tcp_rmem, value 3 of 3\n"
            "  now        7000\n"
            "  default    174760; the first request writes it\n"
            "  namespace  private\n"
            "  since      2.4\n"
            "  until      today\n"
            "tcp_tw_recycle: 1 recycled sockets in TIME-WAIT fast; harmful for peers behind "
            "address translation (NAT)\n"
            "  file       ipv4/tcp_tw_recycle, value 1 of 1\n"
            "  now        missing\n"
            "  default    0\n"
            "  namespace  -\n"
            "  since      2.4\n"
            "  until      4.11\n");
}

TEST_F(List, ShowsOnlyWhatIsMissing) {
  json expected = json::array();
  for (const json& element : Listed({})) {
    if (element["now"].is_null()) {
      expected.push_back(element);
    }
  }
  EXPECT_GT(expected.size(), 10U);
  EXPECT_EQ(Listed({"--missing"}), expected);
  EXPECT_EQ(Kaehost({"list", "--missing", "tcp_sack"}).out, "");
  EXPECT_THAT(Kaehost({"list", "--missing", "tcp_sack", "tcp_bic"}).out, StartsWith("tcp_bic: "));
}

TEST_F(List, JsonHasAllOfAnElement) {
  EXPECT_EQ(Listed({"tcp_rmem_default", "tcp_bic"}), Parsed(R"([
      {"element": "tcp_bic", "file": "ipv4/tcp_bic", "position": 0, "now": null, "unread": null,
       "default": "1", "imposed": false, "namespace": "-", "since": "2.4.27/2.6.6",
       "until": "2.6.13", "use": "1 selects BIC congestion control"},
      {"element": "tcp_rmem_default", "file": "ipv4/tcp_rmem", "position": 1, "now": "6000",
       "unread": null, "default": "87380", "imposed": true, "namespace": "private", "since": "2.4",
       "until": "today", "use": "Initial receive buffer in bytes of each connection"}])"));
}

TEST_F(List, SuggestsTheElementThatWasMeant) {
  const Outcome run = Kaehost({"list", "tcp_ecn", "tcp_sak"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "kaehost: tcp_sak: unknown element; did you mean tcp_sack?\n");
  EXPECT_EQ(Kaehost({"list", "x\x1b"}).err,
            "kaehost: x<U+001B>: unknown element; 'kaehost list' shows all elements\n");
  const Outcome in_json = Kaehost({"list", "--json", "tcp_sak"});
  EXPECT_EQ(in_json.status, 2);
  EXPECT_EQ(Parsed(in_json.out), Parsed(R"({
      "error": "tcp_sak: unknown element; did you mean tcp_sack?", "status": 2})"));
}

TEST_F(List, DocumentChangesNothing) {
  const Outcome list = Kaehost({"list", "--document"});
  EXPECT_EQ(list.status, 0);
  EXPECT_THAT(list.out, HasSubstr("\n  <tcp_adv_win_scale>-2</tcp_adv_win_scale>\n"));
  const TempFolder folder;
  const std::string document = folder.Write("now.xml", list.out);
  EXPECT_EQ(Kaehost({"check", "--quiet", document}).out, "");
  const json request = Parsed(Kaehost({"apply", "--json", document}).out)["requests"][0];
  EXPECT_EQ(request["reply"], "success");
  EXPECT_EQ(request["counts"], json({{"unchanged", Lines(list.out) - 2}}));
  EXPECT_GT(Lines(list.out), 30);
}

TEST_F(List, DocumentHasNoOperands) {
  const Outcome run = Kaehost({"list", "--document", "tcp_sack"});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.err, StartsWith("kaehost: --document prints all elements; remove 'tcp_sack'\n"));
  EXPECT_THAT(Kaehost({"list", "--document", "--json"}).err, HasSubstr("mutually exclusive"));
  EXPECT_THAT(Kaehost({"list", "--document", "--missing"}).err, HasSubstr("mutually exclusive"));
}

TEST_F(List, TellsWhatCannotBeRead) {
  const Outcome run = Kaehost({"list"}, MakeATunableWriteOnly);
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, ContainsRegex("\n  tcp_fack +unread +1 "));
  EXPECT_THAT(run.err, ContainsRegex("^kaehost: tcp_fack: /proc/sys/net/ipv4/tcp_fack: cannot be "
                                     "read: [A-Z][a-z ]+\n$"));
  const Outcome document = Kaehost({"list", "--document"}, MakeATunableWriteOnly);
  EXPECT_EQ(document.status, 1);
  EXPECT_EQ(document.err, run.err);
  EXPECT_THAT(document.out, AllOf(HasSubstr("<tcp_sack>"), Not(HasSubstr("<tcp_fack>"))));
  const Outcome missing = Kaehost({"list", "--missing"}, MakeATunableWriteOnly);
  EXPECT_EQ(missing.status, 0);
  EXPECT_THAT(missing.out, Not(HasSubstr("tcp_fack")));
  const json in_json = Parsed(Kaehost({"list", "--json"}, MakeATunableWriteOnly).out);
  EXPECT_EQ(in_json["status"], 1);
  EXPECT_NE(in_json["elements"][10]["unread"], nullptr) << in_json["elements"][10];
}

TEST_F(List, TellsWhyNothingCanBeRead) {
  const Outcome run = Kaehost({"list"}, HideTunables);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(Lines(run.err), 57);
  EXPECT_THAT(run.err,
              HasSubstr("\nkaehost: tcp_sack: /proc/sys/net/ipv4/tcp_sack: cannot be read: "
                        "Permission denied\n"));
  EXPECT_THAT(run.err, Not(HasSubstr("Bad file descriptor")));
}
