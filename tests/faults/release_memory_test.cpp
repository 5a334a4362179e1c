// Exhausted memory while a layer is released.

#include "tests/faults/memory_fixture.h"

namespace {

class ReleaseMemoryTest : public MemoryTest, public testing::WithParamInterface<memory::Mode> {
 protected:
  memory::Attempt Disturb(std::size_t n);

  void ExpectLayerToStand(const std::string& lines);
};

// Nothing but the rollback is cut short, and the same call ends the layer.
void ReleaseMemoryTest::ExpectLayerToStand(const std::string& lines) {
  const Values not_opened = NotOpenedForWantOfMemory(lines);
  const std::string undisturbed = kToPreviousLines + WriteLines(KernelValues(), not_opened);
  EXPECT_EQ(lines, undisturbed.substr(0, lines.size()));
  EXPECT_LE(not_opened.size(), 1U);
  EXPECT_THAT(recording_host::Calls(), testing::IsEmpty());
  ExpectFilesOldNewOrEmpty();
  TryRelease();
  EXPECT_EQ(output.Take(), ReleaseLines());
  ExpectFiles(KernelValues());
}

memory::Attempt ReleaseMemoryTest::Disturb(std::size_t n) {
  TryNewLayer();
  TryConfigure();
  output.Take();
  recording_host::Calls().clear();
  const memory::Attempt attempt = TryRelease(n, GetParam());
  const std::string lines = output.Take();
  if (attempt.threw) {
    ExpectLayerToStand(lines);
  } else {
    const Values not_opened = NotOpenedForWantOfMemory(lines);
    // For the text of the error, some C libraries ask for memory too, and do without it.
    EXPECT_EQ(not_opened.size(), attempt.failed > 0 ? 1U : 0U);
    EXPECT_EQ(lines, kToPreviousLines + WriteLines(KernelValues(), not_opened));
    ExpectFilesBut(not_opened, KernelValues());
    ExpectFilesOldNewOrEmpty();
    GivenKernelValues();
  }
  EXPECT_THAT(recording_host::Calls(), testing::ElementsAre("~kaeCPLayer"));
  ExpectNothingLeft();
  ExpectTheNextLayerToWork();
  return attempt;
}

TEST_P(ReleaseMemoryTest, PassesToTheHostOrLeavesATunableUnrestored) {
  ForEveryAllocation([&](std::size_t n) { return Disturb(n); });
}

INSTANTIATE_TEST_SUITE_P(Mode, ReleaseMemoryTest, testing::Values(memory::kOnce, memory::kForEver),
                         NameOfMode);

}  // namespace
