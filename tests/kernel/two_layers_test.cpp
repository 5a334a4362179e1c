// Two layers at once, each with a snapshot of its own.

#include "tests/kernel/fixture.h"

namespace {

using testing::IsEmpty;

class TwoLayersTest : public KernelTest {
 protected:
  TwoLayersTest() {
    Configure(*first, "tcp_fin_timeout", "20");
    between = ReadKernel();
    second = NewLayer();
    Configure(*second, "tcp_fin_timeout", "30");
  }

  void SetUp() override { ASSERT_EQ(KernelText("ipv4/tcp_fin_timeout"), "30"); }

  std::unique_ptr<BuiltLayer> first = NewLayer();
  std::unique_ptr<BuiltLayer> second;
  KernelState between;
};

TEST_F(TwoLayersTest, EachReleaseRestoresWhatItsLayerFound) {
  second->Release();
  EXPECT_THAT(Changes(between, ReadKernel()), IsEmpty());
  EXPECT_EQ(KernelText("ipv4/tcp_fin_timeout"), "20");
  first->Release();
  EXPECT_THAT(Changes(found, ReadKernel()), IsEmpty());
}

TEST_F(TwoLayersTest, TheLaterLayerRestoresWhatItFoundEvenWhenTheEarlierOneIsGone) {
  first->Release();
  EXPECT_THAT(Changes(found, ReadKernel()), IsEmpty());
  second->Release();
  EXPECT_THAT(Changes(between, ReadKernel()), IsEmpty());
}

}  // namespace
