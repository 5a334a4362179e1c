// The fifteen settings that start from their default.

#include "tests/kernel/fixture.h"

namespace {

using testing::IsEmpty;

// All fifteen, with what the kernel is given before and with the defaults.
const KernelState kOthers = {
    {"ipv4/tcp_ecn", "1"},
    {"ipv4/tcp_fin_timeout", "31"},
    {"ipv4/tcp_keepalive_intvl", "32"},
    {"ipv4/tcp_keepalive_probes", "8"},
    {"ipv4/tcp_keepalive_time", "3300"},
    {"ipv4/tcp_retries1", "4"},
    {"ipv4/tcp_retries2", "14"},
    {"ipv4/tcp_rmem", "5000 50000 5000000"},
    {"ipv4/tcp_synack_retries", "4"},
    {"ipv4/tcp_timestamps", "0"},
    {"ipv4/tcp_wmem", "6000 60000 6000000"},
};
const KernelState kDefaults = {
    {"ipv4/tcp_ecn", "0"},
    {"ipv4/tcp_fin_timeout", "60"},
    {"ipv4/tcp_keepalive_intvl", "75"},
    {"ipv4/tcp_keepalive_probes", "9"},
    {"ipv4/tcp_keepalive_time", "7200"},
    {"ipv4/tcp_retries1", "3"},
    {"ipv4/tcp_retries2", "15"},
    {"ipv4/tcp_rmem", "4096 87380 174760"},
    {"ipv4/tcp_synack_retries", "5"},
    {"ipv4/tcp_timestamps", "1"},
    {"ipv4/tcp_wmem", "4096 16384 131072"},
};

class DefaultsTest : public KernelTest {
 protected:
  DefaultsTest() {
    for (const auto& [file, text] : kOthers) {
      SetKernel(file, text);
    }
    before = ReadKernel();
  }

  KernelState before;
};

TEST_F(DefaultsTest, ARequestThatNamesNoneImposesAllOfThemAndNothingElseUntilTheRelease) {
  auto layer = NewLayer();
  ASSERT_TRUE(Configure(*layer));
  EXPECT_EQ(Changes(before, ReadKernel()), kDefaults);
  layer->Release();
  EXPECT_THAT(Changes(before, ReadKernel()), IsEmpty());
}

TEST_F(DefaultsTest, ARequestThatNamesOneOfThemAndAnotherSettingImposesTheRest) {
  const Named named = {
      {"tcp_rmem_default", "65536"},
      {"tcp_syn_retries", "2"},
  };
  KernelState expected = kDefaults;
  expected["ipv4/tcp_rmem"] = "4096 65536 174760";
  expected["ipv4/tcp_syn_retries"] = "2";
  auto layer = NewLayer();
  ASSERT_TRUE(Configure(*layer, named));
  EXPECT_EQ(Changes(before, ReadKernel()), expected);
}

}  // namespace
