// kaehost with too little memory: it ends with a sentence, wherever the limit lies.

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "devhost/kaehost/kernel/scratch_files.h"
#include "devhost/kaehost/kernel/tunables.h"
#include "tests/devhost/support/named_networks.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"
#include "tests/support/soon.h"

using testing::AllOf;
using testing::AnyOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::Field;
using testing::HasSubstr;
using testing::Not;
using testing::ResultOf;
using testing::StartsWith;

namespace {

constexpr int kFailed = 1;
constexpr int kBadInput = 2;
constexpr int kNotLoaded = 127;    // the dynamic loader found too little memory
constexpr rlim_t kPage = 4;        // KiB
constexpr unsigned kLongest = 20;  // seconds: a command that waits for ever is killed

void DumpNoCore() {
  const rlimit no_core = {0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
}

// For `prepare`: every allocation meets the limit, because malloc asks the kernel for no more than
// it needs.
void LimitMemory(rlim_t kib) {
  const rlimit limit = {kib << 10, kib << 10};
  setrlimit(RLIMIT_AS, &limit);
  DumpNoCore();
  setenv("GLIBC_TUNABLES", "glibc.malloc.top_pad=0", 1);
}

Outcome KaehostWithin(rlim_t kib, const std::vector<std::string>& arguments) {
  return Kaehost(arguments, [kib] { LimitMemory(kib); });
}

// Returns the least memory, in KiB, with which kaehost is loaded.
rlim_t LeastToLoad() {
  rlim_t too_little = 1 << 10;
  rlim_t enough = 1 << 20;
  while (enough - too_little > kPage) {
    const rlim_t middle = (too_little + enough) / 2 / kPage * kPage;
    (KaehostWithin(middle, {"--help"}).status == kNotLoaded ? too_little : enough) = middle;
  }
  return enough;
}

void ExpectSentences(const Outcome& run, const std::string& what) {
  EXPECT_LT(run.status, kNotLoaded) << what << run.err;
  EXPECT_NE(run.out + run.err, "") << what;
  std::istringstream lines(run.err);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_THAT(line, AnyOf(StartsWith("kaehost: "), StartsWith("Try 'kaehost "))) << what;
  }
  for (const char* other :
       {"bad_alloc", "section table", "filesystem error", "well-formed", "cannot be read as XML",
        "cannot load", "kaehost: kaehost", "(ulimit -v); nothing"}) {
    EXPECT_THAT(run.out + run.err, Not(HasSubstr(other))) << what;
  }
}

// Returns whether the command's status 1 means something other than a failure.
bool HasAMeaningForOne(const std::string& command) {
  return command == "check" || command == "import";
}

// Without how long inspect waited for the plug-in.
std::string WithoutTimes(const Outcome& run) {
  return std::regex_replace(run.out, std::regex("[0-9]+ us"), "");
}

class LowMemory : public testing::Test {
 protected:
  // In LD_PRELOAD, a path can have no blank.
  LowMemory() { std::filesystem::create_symlink(SCARCE_MEMORY, preloaded_); }

  // The first allocation that fails is that of this number, and it is the only one if `is_one`. If
  // there is one, `failure_` is a file.
  Outcome KaehostUntilFailure(int first, const std::vector<std::string>& arguments,
                              bool is_one = false) const {
    return Kaehost(arguments, [this, first, is_one] {
      DumpNoCore();
      alarm(kLongest);
      setenv("LD_PRELOAD", preloaded_.c_str(), 1);
      setenv("FIRST_FAILURE", std::to_string(first).c_str(), 1);
      setenv("FAILURE_FILE", failure_.c_str(), 1);
      if (is_one) {
        setenv("ONE_FAILURE", "", 1);
      }
    });
  }

  // Returns how many allocations the command makes.
  int AllocationsOf(const std::vector<std::string>& arguments) const {
    int made = 0;
    int not_made = 5000;
    while (not_made - made > 1) {
      const int middle = (made + not_made) / 2;
      KaehostUntilFailure(middle, arguments, true);
      (std::filesystem::remove(failure_) ? made : not_made) = middle;
    }
    return made;
  }

  const PrivateRun run_;
  const TempFolder folder_;
  const std::string document_ =
      folder_.Write("document.xml", "<tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>");
  const std::string settings_ = folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\n");
  const std::string failure_ = folder_.Path("failure");
  const std::string preloaded_ = folder_.Path("scarce_memory.so");
  const std::vector<std::vector<std::string>> commands_ = {
      {"--help"},
      {"check", document_},
      {"check", "--json", document_},
      {"apply", "--quiet", document_},
      {"apply", "--json", document_},
      {"inspect"},
      {"restore"},
      {"import", settings_},
      {"import", "--json", "--output", folder_.Path("output.xml"), settings_},
  };
};

}  // namespace

TEST_F(LowMemory, EndsEveryCommandWithASentence) {
  std::filesystem::create_directory("/run/kaehost");  // which restore reads
  std::filesystem::permissions("/run/kaehost", std::filesystem::perms::owner_all);
  const rlim_t least = LeastToLoad();
  for (const std::vector<std::string>& arguments : commands_) {
    std::map<int, int> statuses;
    for (rlim_t kib = least; kib < least + 280; kib += 2 * kPage) {
      const Outcome run = KaehostWithin(kib, arguments);
      ExpectSentences(run, testing::PrintToString(arguments) + std::to_string(kib));
      ++statuses[run.status];
    }
    EXPECT_GT(statuses.erase(kBadInput), 0U) << testing::PrintToString(arguments);
    if (HasAMeaningForOne(arguments[0])) {
      EXPECT_EQ(statuses.count(kFailed), 0U) << testing::PrintToString(arguments);
    } else if (arguments[0] == "apply") {
      EXPECT_EQ(statuses.count(kFailed), 1U) << testing::PrintToString(arguments);
    }
    EXPECT_EQ(KaehostWithin(least + 64'000, arguments).status, 0);
  }
}

// It needs more for the library that validates than for all else: since Debian 13 two mebibytes
// more, before that forty.
TEST_F(LowMemory, IsToldIfTheLibraryThatValidatesCannotBeLoaded) {
  const rlim_t least = LeastToLoad() + 1000;
  int refused = 0;
  for (rlim_t kib = least; kib < least + 64'000;
       kib += (kib < least + 5'000 ? 500 : 3'000) + kPage) {
    const Outcome run = KaehostWithin(kib, {"check", document_});
    ExpectSentences(run, std::to_string(kib));
    EXPECT_THAT(run.status, AnyOf(0, kBadInput)) << kib << run.err;
    refused += run.status == kBadInput ? 1 : 0;
  }
  EXPECT_GT(refused, 2);
}

TEST_F(LowMemory, EndsEveryCommandWithASentenceWhicheverAllocationFails) {
  folder_.Write("document.xml",
                "<?xml version=\"1.0\"?>\n<tcp-settings><tcp_sack>0</tcp_sack><!--" +
                    std::string(30'000, 'x') + "--></tcp-settings>");
  for (const std::vector<std::string>& arguments : commands_) {
    constexpr int kStep = 47;
    bool is_scarce = true;
    for (int first = 1; first < 5000 && is_scarce; first += kStep) {
      const Outcome run = KaehostUntilFailure(first, arguments);
      is_scarce = std::filesystem::remove(failure_);
      const std::string what = testing::PrintToString(arguments) + std::to_string(first);
      ExpectSentences(run, what);
      EXPECT_EQ(run.status == 0, !is_scarce) << what;
      EXPECT_FALSE(HasAMeaningForOne(arguments[0]) && run.status == kFailed) << what;
    }
    EXPECT_FALSE(is_scarce) << testing::PrintToString(arguments);
  }
}

// Some failures of one allocation the libraries bear. One of these commands builds a JSON document
// from XML, the other reads an ELF file.
TEST_F(LowMemory, IsToldOrDoesNotMatter) {
  const std::vector<std::string> check = {
      "check", "--json",
      folder_.Write("flawed.xml", "<?xml version=\"1.0\"?>\n<tcp-settings><a>1</a><!--" +
                                      std::string(30'000, 'x') + "--></tcp-settings>")};
  EXPECT_EQ(Kaehost(check).status, kFailed);
  for (const std::vector<std::string>& arguments : {check, {"inspect"}}) {
    const Outcome right = Kaehost(arguments);
    const int to_start = AllocationsOf({arguments[0], folder_.Path("nothing")});
    bool is_scarce = true;
    for (int number = to_start; number < 5000 && is_scarce; ++number) {
      const Outcome run = KaehostUntilFailure(number, arguments, true);
      is_scarce = std::filesystem::remove(failure_);
      const std::string what = arguments[0] + ' ' + std::to_string(number);
      ExpectSentences(run, what);
      EXPECT_THAT(run, AnyOf(Field(&Outcome::status, kBadInput),
                             Field(&Outcome::err, HasSubstr("out of memory")),
                             AllOf(Field(&Outcome::status, right.status),
                                   ResultOf(WithoutTimes, WithoutTimes(right)))))
          << what << ' ' << run.status << run.out << run.err;
    }
    EXPECT_FALSE(is_scarce) << arguments[0];
  }
}

// Nobody catches an exception of its constructor.
TEST_F(LowMemory, OfAPluginIsASentenceToo) {
  setenv("MISBEHAVES", "constructor run out of memory", 1);
  const Outcome run = Kaehost({"inspect", TestPlugin("misbehaves")}, DumpNoCore);
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.err, StartsWith("kaehost: out of memory; "));
  EXPECT_THAT(run.err, EndsWith("its process ended with status 1\n"));
}

// Its plug-in's process has enough memory, and answers. A session that loads no plug-in makes more
// allocations until it ends than another one until its requests are answered.
TEST_F(LowMemory, OfKaehostEndsASessionInSeveralNamespaces) {
  const NamedNetworks networks({"blue", "green", "red"});
  std::vector<std::string> arguments = {"apply",   "--no-journal", "--netns", "blue",
                                        "--netns", "green",        "--netns", "red",
                                        document_, "--plugin",     "nothing"};
  const int without_layers = AllocationsOf(arguments);
  arguments.resize(arguments.size() - 2);
  setenv("ONE_PROCESS", "", 1);
  int told = 0;
  for (int number = without_layers / 2; number < without_layers; number += 3) {
    const Outcome run = KaehostUntilFailure(number, arguments, true);
    EXPECT_LT(run.status, kNotLoaded) << number << run.err;
    EXPECT_THAT(run.err, AnyOf("", StartsWith("kaehost: "))) << number;
    told += run.err.find("out of memory") != std::string::npos ? 1 : 0;
  }
  unsetenv("ONE_PROCESS");
  EXPECT_GT(told, 0);
}

// "The machine" is the test's private namespace. If neither the plug-in nor kaehost has
// the memory to restore, the journal stays. The plug-in's process can end after kaehost.
TEST_F(LowMemory, LeavesNothingThatCannotBeRestored) {
  constexpr int kInUse = 77;
  devhost::MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
  const devhost::Tunables before = devhost::ReadTunables();
  int status = 1;
  for (int first = 1; first < 8000 && status != 0; first += 53) {
    const Outcome session =
        KaehostUntilFailure(first, {"apply", "--live", "--quiet", document_, "--", "true"});
    ExpectSentences(session, std::to_string(first));
    int restored = -1;
    Soon([&restored] {
      restored = Kaehost({"restore", "--live", "--quiet"}).status;
      return restored != kInUse;
    });
    ASSERT_EQ(restored, 0) << first;
    ASSERT_EQ(devhost::ReadTunables(), before) << first << ' ' << session.out << session.err;
    status = session.status;
  }
  EXPECT_EQ(status, 0);
}

TEST_F(LowMemory, OfThePlugInIsReportedAndAllTunablesAreRestored) {
  const devhost::Tunables before = devhost::ReadTunables();
  const auto apply = [&](const std::string& misbehaves) {
    setenv("MISBEHAVES", misbehaves.c_str(), 1);
    Outcome run =
        Kaehost({"apply", "--live", document_, "--plugin", TestPlugin("misbehaves"), "--", "true"},
                DumpNoCore);
    EXPECT_EQ(devhost::ReadTunables(), before) << misbehaves;
    return run;
  };
  const std::string ended = "process (was killed by signal 6 .Aborted.|ended with status 1)";
  for (const auto& [deed, said, refused] : {
           std::tuple{"throw without memory",
                      std::string("kaehost: the layer's do_Configure threw: out of memory\n"),
                      std::string("the plug-in's InitPlugin threw: out of memory; nothing")},
           std::tuple{"end without memory",
                      "kaehost: the plug-in's " + ended +
                          " during request 1 of 1: [^ ]*; kaehost restored 1 tunable\n",
                      "the plug-in does not load: its " + ended},
       }) {
    const Outcome run = apply("do_Configure " + std::string(deed));
    EXPECT_EQ(run.status, 1) << deed;
    EXPECT_THAT(run.out, ContainsRegex(said));
    EXPECT_THAT(run.out, HasSubstr("all tunables restored\n"));
    const Outcome loading = apply("InitPlugin " + std::string(deed));
    EXPECT_EQ(loading.status, 3) << deed;
    EXPECT_THAT(loading.err, ContainsRegex(refused));
    EXPECT_THAT(loading.out, HasSubstr("kaehost: kaehost restored 1 tunable\n"));
  }
}
