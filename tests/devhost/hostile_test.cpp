// kaehost apply and check with documents as large as they get. It prints what each took.

#include <gmock/gmock.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "tests/devhost/support/effort.h"
#include "tests/devhost/support/filled_pipe.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::ContainsRegex;
using testing::EndsWith;

const int kKills = 1000;
const bool kHasAllTests = true;

namespace {

constexpr int kMany = 10'000'000;
constexpr long kGibibyte = 1024L * 1024;  // in KiB

std::string Repeated(const std::string& text, int times) {
  std::string all;
  all.reserve(text.size() * static_cast<std::size_t>(times));
  for (int i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

Outcome OnASmallStack(const std::string& command, const std::string& path) {
  const auto start = std::chrono::steady_clock::now();
  Outcome run = Kaehost({command, path}, TakeASmallStack);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  std::printf("%s: %.1f seconds, %ld MiB\n",
              testing::UnitTest::GetInstance()->current_test_info()->name(), took.count(),
              run.peak_memory / 1024);
  return run;
}

class HostileDocument : public testing::Test {
 protected:
  // Expects that kaehost check finds so many things in a document, with little stack
  // and memory.
  void ExpectFindings(const std::string& contents, const std::string& findings,
                      long gibibytes = 2) const {
    const Outcome run = OnASmallStack(
        "check", folder_.Write("document.xml", "<tcp-settings>" + contents + "</tcp-settings>"));
    EXPECT_THAT(run.out, EndsWith("document.xml: " + findings + '\n'));
    EXPECT_LT(run.peak_memory, gibibytes * kGibibyte);
  }

  // Expects that a document reaches the plug-in with its last setting, tcp_sack, behind `contents`.
  void ExpectApplied(const std::string& contents, long gibibytes = 2) const {
    const Outcome run = OnASmallStack(
        "apply", folder_.Write("document.xml", "<tcp-settings>" + contents +
                                                   "<tcp_sack>0</tcp_sack></tcp-settings>"));
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, ContainsRegex("\n  tcp_sack +applied +1 +0 +0\n"));
    EXPECT_LT(run.peak_memory, gibibytes * kGibibyte);
  }

  const TempFolder folder_;
};

}  // namespace

TEST_F(HostileDocument, OfTenMillionSiblingsIsApplied) {
  ExpectApplied(Repeated("<x>1</x>", kMany));
}

TEST_F(HostileDocument, OfTenMillionLevelsIsApplied) {
  ExpectApplied(Repeated("<x>", kMany) + Repeated("</x>", kMany), 3);
}

TEST_F(HostileDocument, OfTwoHundredMebibytesOfTextIsApplied) {
  ExpectApplied("<x>" + std::string(std::size_t{200} << 20, 'x') + "</x>");
}

TEST_F(HostileDocument, OfEndlessSiblingsIsRefused) {
  const FilledPipe pipe("<tcp-settings>\n", Repeated("<x/>", 16'384));
  const Outcome run = OnASmallStack("apply", pipe.path());
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "kaehost: " + pipe.path() +
                ":2:134217721: the document has more than 32 Mi elements, attributes, texts "
                "and comments; split it into several; nothing was delivered\n");
  EXPECT_LT(run.peak_memory, 5 * kGibibyte);
}

TEST_F(HostileDocument, OfEndlessLevelsIsRefused) {
  const FilledPipe pipe("<tcp-settings>\n", Repeated("<x>", 16'384));
  const Outcome run = OnASmallStack("apply", pipe.path());
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "kaehost: " + pipe.path() +
                ":2:50331646: the document has more than 16 Mi elements inside each other; "
                "remove some; nothing was delivered\n");
  EXPECT_LT(run.peak_memory, 5 * kGibibyte);
}

TEST_F(HostileDocument, OfTenMillionUnknownElementsIsChecked) {
  ExpectFindings(Repeated("<x>1</x>", kMany), "more than 1000 findings");
}

TEST_F(HostileDocument, OfTenMillionLevelsIsChecked) {
  ExpectFindings("<tcp_sack>0" + Repeated("<x>", kMany) + Repeated("</x>", kMany) + "</tcp_sack>",
                 "1 finding", 3);
}

TEST_F(HostileDocument, OfFiveMillionCommentsIsChecked) {
  ExpectFindings(Repeated("<!---->\n", kMany / 2), "no findings");
}
