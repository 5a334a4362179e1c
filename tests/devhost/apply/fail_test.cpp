// kaehost apply --fail: a tunable fails to open at its Nth time, with an error of the kernel.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/devhost/support/json.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr std::pair<const char*, int> kErrors[] = {
    {"EACCES", EACCES},   {"EIO", EIO},       {"EISDIR", EISDIR},
    {"ELOOP", ELOOP},     {"EMFILE", EMFILE}, {"ENOENT", ENOENT},
    {"ENOTDIR", ENOTDIR}, {"ENXIO", ENXIO},   {"EROFS", EROFS}};

class Fail : public testing::Test {
 protected:
  json Apply(const std::vector<std::string>& options) const {
    std::vector<std::string> arguments = {"apply", "--json", document_};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Parsed(Kaehost(arguments).out);
  }

  // The errors of the times that the plug-in opens the file, empty for none.
  std::vector<std::string> Openings(const std::string& file,
                                    std::vector<std::string> options) const {
    options.insert(options.begin(), {"apply", "--json", "--trace", document_});
    std::istringstream trace(Kaehost(options).err);
    std::vector<std::string> errors;
    for (std::string line; std::getline(trace, line);) {
      const json object = line.starts_with('{') ? Parsed(line) : json::object();
      if (object.value("open", "") == "/proc/sys/net/" + file) {
        errors.push_back(object["error"].is_null() ? "" : object["error"]);
      }
    }
    return errors;
  }

  const TempFolder folder_;
  const std::string document_ =
      folder_.Write("document.xml", "<tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>");
};

// A user namespace cannot uncover what the mount covers.
void CoverAFileBesideTheObstacle() {
  constexpr const char* kFile = "/proc/sys/kernel/random/boot_id";
  if (unshare(CLONE_NEWNS) != 0 || mount("/dev/null", kFile, nullptr, MS_BIND, nullptr) != 0) {
    _exit(126);
  }
}

void ExpectBadOption(const std::string& option, const std::string& sentence) {
  const Outcome run = Kaehost({"apply", "--fail", option, "/nowhere.xml"});
  EXPECT_EQ(run.status, 2) << option;
  EXPECT_THAT(run.err, StartsWith("kaehost: --fail: \"" + option + "\": " + sentence));
}

}  // namespace

TEST_F(Fail, HasEachErrorAtTheRequestedTimeOnly) {
  for (const auto& [error, number] : kErrors) {
    const std::string text = std::strerror(number);
    const std::string option = std::string("ipv4/tcp_sack=") + error + ":2";
    const json session = Apply({"--fail", option});
    const json& request = session["requests"][0];
    if (number == ENOENT) {  // a missing file is skipped
      EXPECT_EQ(request["reply"], "success");
      EXPECT_EQ(request["counts"]["rejected"], 1) << request;
    } else {
      EXPECT_EQ(request["error"], "file error") << error;
      EXPECT_EQ(request["detail"], "[/proc/sys/net/ipv4/tcp_sack]: " + text);
    }
    EXPECT_EQ(session["restored"], true) << error;
    EXPECT_EQ(session["restored_by_kaehost"], json::array()) << error;
    const std::vector<std::string> openings = Openings("ipv4/tcp_sack", {"--fail", option});
    ASSERT_GE(openings.size(), 3U) << error;
    for (std::size_t i = 0; i < openings.size(); ++i) {
      EXPECT_EQ(openings[i], i == 1 ? text : "") << error << i;
    }
  }
}

TEST_F(Fail, ReachesACoreFileAndEveryTime) {
  const std::vector<std::string> openings =
      Openings("core/rmem_max", {"--whole-catalogue", "--fail", "core/rmem_max=ENOENT"});
  EXPECT_GE(openings.size(), 3U);
  EXPECT_THAT(openings, testing::Each("No such file or directory"));
  EXPECT_THAT(Openings("core/wmem_max", {"--whole-catalogue", "--fail", "core/rmem_max=ENOENT"}),
              testing::Each(""));
}

TEST_F(Fail, CanMeetTheSecondRequest) {
  const json session = Apply({"--fail", "ipv4/tcp_wmem=EISDIR:3", document_});
  EXPECT_EQ(session["requests"][0]["reply"], "success");
  EXPECT_EQ(session["requests"][1]["reply"], "error");
  EXPECT_EQ(session["restored"], true);
}

TEST_F(Fail, ShowsThatTheLayerDidNotRestore) {
  const json session = Apply({"--fail", "ipv4/tcp_sack=EROFS:3"});
  EXPECT_EQ(session["requests"][0]["reply"], "success");
  EXPECT_EQ(session["restored_by_kaehost"], Parsed(R"([
      {"tunable": "ipv4/tcp_sack", "before": "1", "now": "0"}])"));
  EXPECT_EQ(session["restored"], true);
  EXPECT_EQ(session["status"], 1);
}

TEST_F(Fail, GivesNoAdviceOnWhatItCausedItself) {
  const Outcome run = Kaehost({"apply", "--fail", "ipv4/tcp_sack=EACCES:2", document_});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out,
              AllOf(HasSubstr("reply: error: file error: "), Not(HasSubstr("run as root"))));
}

TEST_F(Fail, TellsWhatDidNotHappen) {
  const Outcome run =
      Kaehost({"apply", "--quiet", "--fail", "ipv4/tcp_sack=EACCES:9", "--fail",
               "ipv4/tcp_fack=EACCES:3", "--fail", "ipv4/tcp_ecn=EROFS:1", document_});
  EXPECT_EQ(run.err,
            "kaehost: --fail ipv4/tcp_sack=EACCES:9: did not happen; the plug-in opened "
            "/proc/sys/net/ipv4/tcp_sack 3 times\n"
            "kaehost: --fail ipv4/tcp_ecn=EROFS:1: did not happen; the plug-in opened "
            "/proc/sys/net/ipv4/tcp_ecn 3 times\n");
}

TEST_F(Fail, SaysOnlyWhyItIsRefusedIfNoFileCanBeWatched) {
  const Outcome run = Kaehost({"apply", "--quiet", "--fail", "ipv4/tcp_sack=EACCES:2", document_},
                              [] { Forbid(SYS_seccomp, 0, SECCOMP_SET_MODE_FILTER); });
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err,
            "kaehost: cannot let files fail to open: Operation not permitted; leave out --fail; "
            "nothing was delivered\n");
}

TEST_F(Fail, WorksBesideMountsOfOthers) {
  const Outcome run = Kaehost({"apply", "--quiet", "--fail", "ipv4/tcp_sack=ENOENT:2", document_},
                              CoverAFileBesideTheObstacle);
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, HasSubstr("1 rejected"));
}

TEST_F(Fail, OpensTheFileIfThereCanBeNoObstacle) {
  const Outcome run = Kaehost({"apply", "--as-is", "--verbose", "--plugin", TestPlugin("opens"),
                               "--fail", "ipv4/tcp_sack=ELOOP", document_},
                              [] {
                                setenv("OPENS", "with openat2", 1);
                                ForbidNewFileSystems();  // as an obstacle needs one
                              });
  EXPECT_THAT(run.err, HasSubstr("kaehost: --fail ipv4/tcp_sack=ELOOP: did not happen; cannot "
                                 "put an obstacle there: Operation not permitted\n"));
  EXPECT_THAT(run.out, HasSubstr("[result 0]\n"));
}

TEST_F(Fail, LeavesAThreadInItsOwnNamespaceAlone) {
  const Outcome run = Kaehost({"apply", "--quiet", "--plugin", TestPlugin("opens"), "--fail",
                               "ipv4/tcp_sack=EACCES", document_},
                              [] { setenv("OPENS", "in a namespace of a thread", 1); });
  EXPECT_THAT(run.err, HasSubstr("opened /proc/sys/net/ipv4/tcp_sack 0 times\n"));
}

TEST_F(Fail, MeetsOpenat2) {
  const Outcome run = Kaehost({"apply", "--verbose", "--plugin", TestPlugin("opens"), "--fail",
                               "ipv4/tcp_sack=EACCES", document_},
                              [] { setenv("OPENS", "with openat2", 1); });
  EXPECT_THAT(run.out, HasSubstr("[result " + std::to_string(EACCES) + "]\n"));
}

TEST_F(Fail, IsForOrdinaryUsersToo) {
  const std::string document = folder_.Write("for_all.xml", "<tcp-settings/>");
  const auto prepare = [&document] {
    dup2(open(document.c_str(), O_RDONLY), STDIN_FILENO);
    BecomeOrdinaryUser();
  };
  const Outcome run =
      Kaehost({"apply", "--quiet", "--fail", "ipv4/tcp_sack=EACCES:2", "-"}, prepare);
  EXPECT_EQ(run.status, HasUserNamespaces() ? 1 : 77) << run.err;
  EXPECT_EQ(run.out.find("[/proc/sys/net/ipv4/tcp_sack]: Permission denied") != run.out.npos,
            HasUserNamespaces());
}

TEST_F(Fail, IsOnlyForPrivateNamespaces) {
  const PrivateRun run;
  for (const std::string other : {"--live", "--netns=blue"}) {
    const Outcome refused = Kaehost({"apply", other, "--fail", "ipv4/tcp_sack=EACCES", document_});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.err, HasSubstr("are mutually exclusive\n"));
  }
}

TEST_F(Fail, RefusesOptionsThatItDoesNotUnderstand) {
  for (const std::string option : {"ipv4/tcp_sack", "ipv4/tcp_sack:2=EACCES"}) {
    ExpectBadOption(option, "write FILE=ERROR or FILE=ERROR:N, such as ipv4/tcp_sack=EACCES:2\n");
  }
  ExpectBadOption("tcp_sack=EACCES",
                  "not a file of the catalogue; 'kaehost list ELEMENT' shows an element's file\n");
  ExpectBadOption("ipv4/tcp_sack=ETXTBSY",
                  "the error must be one of EACCES, EIO, EISDIR, ELOOP, EMFILE, ENOENT, ENOTDIR, "
                  "ENXIO, EROFS\n");
  for (const std::string time : {"0", "-1", "x", "", "1000001"}) {
    ExpectBadOption("ipv4/tcp_sack=EACCES:" + time,
                    "the number after ':' must be from 1 to 1000000\n");
  }
}
