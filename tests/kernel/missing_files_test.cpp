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

TEST_F(MissingFilesTest, ARequestSkipsThemAndSucceeds) {
  const Values values = FirstRequest(Snapshot());
  auto layer = NewLayer();
  EXPECT_TRUE(Configure(*layer));
  EXPECT_EQ(output.Take(), ReceivedLines({}) + WriteLines(values) + "{success}\n");
}

TEST_F(MissingFilesTest, ARequestThatNamesOneSkipsItAndSetsTheOthers) {
  const Named named = {
      {"tcp_bic", "0"},
      {"tcp_sack", "0"},
  };
  const Values values = FirstRequest(Snapshot(), named);
  auto layer = NewLayer();
  EXPECT_TRUE(Configure(*layer, named));
  EXPECT_EQ(output.Take(), ReceivedLines(named) + WriteLines(values) + "{success}\n");
  EXPECT_EQ(KernelText("ipv4/tcp_sack"), "0");
}

TEST_F(MissingFilesTest, AReleaseSkipsThem) {
  const Values values = Snapshot();
  auto layer = NewLayer();
  layer->Release();
  EXPECT_EQ(output.Take(), RollbackLines(values));
}

}  // namespace
