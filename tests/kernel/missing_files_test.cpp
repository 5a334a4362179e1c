// Tunables that the running kernel does not have.

#include "tests/kernel/fixture.h"

namespace {

class MissingFilesTest : public KernelTest {
 protected:
  // No kernel of today has the files of that old congestion control.
  void SetUp() override { ASSERT_FALSE(KernelHas("ipv4/tcp_bic")); }
};

TEST_F(MissingFilesTest, ANewLayerReportsThemAndReadsAllOthers) {
  const BuiltLayer layer;
  EXPECT_EQ(output.Take(), SnapshotLines(Snapshot()));
}

TEST_F(MissingFilesTest, ARequestAndAReleaseSkipThemAndWriteAllOthers) {
  const Named named = {
      {"tcp_bic", "0"},
      {"tcp_sack", "0"},
  };
  const Values snapshot = Snapshot();
  auto layer = NewLayer();
  EXPECT_TRUE(Configure(*layer, named));
  EXPECT_EQ(output.Take(),
            ReceivedLines(named) + WriteLines(FirstRequest(snapshot, named)) + "{success}\n");
  EXPECT_EQ(KernelText("ipv4/tcp_sack"), "0");
  layer->Release();
  EXPECT_EQ(output.Take(), RollbackLines(snapshot));
}

}  // namespace
