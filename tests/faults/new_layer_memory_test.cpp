// Exhausted memory while a layer is made.

#include <map>
#include <utility>

#include "settings/CTCPSettingContainer.h"
#include "tests/faults/memory_fixture.h"

namespace {

using recording_host::Calls;

// The size of one entry of the settings map in memory.
constexpr std::size_t kMapNode = sizeof(std::_Rb_tree_node<std::pair<const char* const, void*>>);

// Deletes the settings that a failed construction has left behind, and answers how many.
std::size_t PutAwaySettings() {
  std::size_t settings = 0;
  for (const memory::Block& block : memory::LiveBlocks()) {
    if (block.size == sizeof(CTCPSetting) || block.size == sizeof(CTCPSettingContainer)) {
      delete static_cast<CTCPSetting*>(block.address);
      ++settings;
    }
  }
  return settings;
}

std::string UnreadLine(const std::string& file) {
  return "error opening stream for read -  file [" + TunableTree::Path(file) +
         "]; error: " + kNoMemory + "\n";
}

class NewLayerMemoryTest : public MemoryTest, public testing::WithParamInterface<memory::Mode> {
 protected:
  memory::Attempt Disturb(std::size_t n);

  void ExpectFailedConstruction(const memory::Attempt& attempt, const std::string& lines);
  void ExpectWorkingLayer(const std::string& lines);
};

// What a snapshot meets whose lines tell of files that could not be opened: those settings keep
// their defaults.
Values SnapshotOf(const std::string& lines, Values* instead) {
  Values values = KernelValues();
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (lines.find(UnreadLine(setting.file)) != std::string::npos) {
      values[setting.name] = setting.default_value;
      if (*setting.container == '\0') {
        (*instead)[setting.name] = UnreadLine(setting.file);
      }
    }
  }
  return values;
}

void NewLayerMemoryTest::ExpectFailedConstruction(const memory::Attempt& attempt,
                                                  const std::string& lines) {
  Values instead;
  const Values values = SnapshotOf(lines, &instead);
  const std::string expected = SnapshotLines(values, instead) + kToPreviousLines;
  EXPECT_EQ(lines, expected.substr(0, lines.size()));
  EXPECT_LE(instead.size(), 1U);
  EXPECT_TRUE(Calls().empty() || Calls().back() == "~kaeCPLayer");
  const std::size_t stored = memory::CountOfSize(kMapNode);
  const std::size_t in_hand = attempt.failed_size == kMapNode ? 1 : 0;
  EXPECT_EQ(PutAwaySettings(), stored + in_hand);
}

void NewLayerMemoryTest::ExpectWorkingLayer(const std::string& lines) {
  Values instead;
  const Values values = SnapshotOf(lines, &instead);
  EXPECT_EQ(lines, SnapshotLines(values, instead) + kToPreviousLines);
  EXPECT_LE(instead.size(), 1U);
  TryRelease();
  EXPECT_EQ(output.Take(), kToPreviousLines + WriteLines(values));
  ExpectFiles(values);
  GivenKernelValues();
}

memory::Attempt NewLayerMemoryTest::Disturb(std::size_t n) {
  const memory::Attempt attempt = TryNewLayer(n, GetParam());
  EXPECT_EQ(attempt.threw, layer == nullptr);
  if (attempt.threw) {
    ExpectFailedConstruction(attempt, output.Take());
  } else {
    ExpectWorkingLayer(output.Take());
  }
  ExpectNothingLeft();
  ExpectTheNextLayerToWork();
  return attempt;
}

TEST_P(NewLayerMemoryTest, PassesToTheHostOrLeavesATunableUnread) {
  ForEveryAllocation([&](std::size_t n) { return Disturb(n); });
}

INSTANTIATE_TEST_SUITE_P(Mode, NewLayerMemoryTest, testing::Values(memory::kOnce, memory::kForEver),
                         NameOfMode);

}  // namespace
