// Every file, every error that opening it can really give, at every moment: played on the built
// library, and compared completely with the model. If a fault does not happen, the test fails.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>

#include "tests/model/generator/generate.h"
#include "tests/model/player/play.h"
#include "tests/model/predictor/predict.h"
#include "tests/model/reporter/print.h"
#include "tests/model/tests/faults.h"

namespace model {
namespace {

constexpr int kErrors[] = {ENOENT, EACCES, EISDIR, ELOOP, ENXIO, EROFS, ETXTBSY, ENOTDIR, EMFILE};

// The number of lines that report the error, without the host's replies.
std::size_t Tellings(const std::string& output, int error) {
  std::istringstream lines(output);
  const std::string text = std::strerror(error);
  std::size_t count = 0;
  for (std::string line; std::getline(lines, line);) {
    count += line.starts_with('{') || !line.ends_with(text) ? 0U : 1U;
  }
  return count;
}

// Returns whether the fault happened, and caused its line and no other.
bool Inject(Player& player, const Fault& fault) {
  const Scenario scenario = fault.Story();
  const Trace seen = player.Play(scenario);
  EXPECT_EQ(PrintDifference(Predict(scenario), seen), "") << Print(scenario);
  const std::vector<Mention> mentions = Mentions(seen.output, fault.File());
  if (mentions == std::vector<Mention>{{fault.moment, fault.Line()}}) {
    if (fault.error == EMFILE) {
      EXPECT_EQ(Tellings(seen.output, EMFILE), 1U) << Print(scenario);  // no other file met it
    }
    return true;
  }
  EXPECT_TRUE(mentions.empty()) << Print(scenario) << mentions[0].line;
  return false;
}

// Whether requests failed with the fault, and succeeded without it.
void ExpectReply(const Fault& fault, const Trace& trace) {
  const bool refused = fault.moment == Moment::kRollback ||
                       (fault.moment == Moment::kRequest && fault.error != ENOENT);
  EXPECT_EQ(trace.results, std::vector{!refused});
}

void InjectAll(Moment moment, const char* name) {
  std::string counts = std::string("faults in the ") + name + ":";
  Player player;
  for (const int error : kErrors) {
    int injected = 0;
    for (std::size_t i = 0; i < TunableFiles().size(); ++i) {
      const Fault fault = {i, error, moment};
      const bool occurred = Inject(player, fault);
      EXPECT_EQ(occurred, fault.CanOccur()) << Print(fault.Story());
      ExpectReply(fault, Predict(fault.Story()));
      injected += occurred ? 1 : 0;
    }
    counts += std::string(" ") + strerrorname_np(error) + " " + std::to_string(injected);
  }
  std::fprintf(stderr, "%s\n", counts.c_str());
}

TEST(FaultMatrix, Snapshot) { InjectAll(Moment::kSnapshot, "snapshot"); }

TEST(FaultMatrix, Request) { InjectAll(Moment::kRequest, "request"); }

TEST(FaultMatrix, Rollback) { InjectAll(Moment::kRollback, "rollback"); }

TEST(FaultMatrix, Release) { InjectAll(Moment::kRelease, "release"); }

}  // namespace
}  // namespace model
