// kaehost with too little memory: it ends with a sentence, wherever the limit lies.

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr int kNotLoaded = 127;  // the dynamic loader found too little memory
constexpr rlim_t kPage = 4;      // KiB

Outcome KaehostWithin(rlim_t kib, const std::vector<std::string>& arguments) {
  return Kaehost(arguments, [kib] {
    const rlimit limit = {kib << 10, kib << 10};
    setrlimit(RLIMIT_AS, &limit);
    const rlimit no_core = {0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
  });
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

void ExpectSentences(const Outcome& run, rlim_t kib) {
  EXPECT_LT(run.status, kNotLoaded) << kib << ' ' << run.err;
  EXPECT_NE(run.out + run.err, "") << kib;
  EXPECT_THAT(run.out + run.err, Not(HasSubstr("bad_alloc"))) << kib;
  std::istringstream lines(run.err);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_THAT(line, AnyOf(StartsWith("kaehost: "), StartsWith("Try 'kaehost "))) << kib;
  }
}

}  // namespace

TEST(LowMemory, EndsEveryCommandWithASentence) {
  const TempFolder folder;
  const std::string document =
      folder.Write("document.xml", "<tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>");
  const std::string settings = folder.Write("settings.conf", "net.ipv4.tcp_sack = 0\n");
  const rlim_t least = LeastToLoad();
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--help"},
        {"check", document},
        {"apply", "--quiet", document},
        {"apply", "--json", document},
        {"inspect"},
        {"import", settings},
        {"import", "--json", "--output", folder.Path("output.xml"), settings}}) {
    int failed = 0;
    for (rlim_t kib = least; kib < least + 640; kib += 2 * kPage) {
      const Outcome run = KaehostWithin(kib, arguments);
      ExpectSentences(run, kib);
      failed += run.status == 0 ? 0 : 1;
      EXPECT_FALSE(arguments[0] == "import" && run.status == 1) << "there is no document" << kib;
    }
    EXPECT_GT(failed, 0) << "otherwise this tests nothing: " << testing::PrintToString(arguments);
    EXPECT_EQ(KaehostWithin(least + 8000, arguments).status, 0);
  }
}
