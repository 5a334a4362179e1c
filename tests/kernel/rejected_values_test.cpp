// Values that the kernel does not take: its files open and the write then fails.

#include "tests/kernel/fixture.h"

namespace {

using testing::IsEmpty;

struct Rejected {
  const char* name;
  const char* value;
  const char* file;
};

constexpr Rejected kRejected[] = {
    {"tcp_sack", "junk", "ipv4/tcp_sack"},
    {"tcp_sack", "-1", "ipv4/tcp_sack"},
    {"tcp_sack", "256", "ipv4/tcp_sack"},
    {"tcp_syn_retries", "0", "ipv4/tcp_syn_retries"},
    {"tcp_syn_retries", "128", "ipv4/tcp_syn_retries"},
    {"tcp_app_win", "32", "ipv4/tcp_app_win"},
    {"tcp_keepalive_time", "99999999999", "ipv4/tcp_keepalive_time"},
    {"tcp_fin_timeout", "15s", "ipv4/tcp_fin_timeout"},
    {"tcp_fin_timeout", "1.5", "ipv4/tcp_fin_timeout"},
    {"tcp_rmem_min", "6000,60000", "ipv4/tcp_rmem"},
    {"tcp_port_min", "61000", "ipv4/ip_local_port_range"},
    {"tcp_port_max", "65536", "ipv4/ip_local_port_range"},
};

// Written before all the rejected ones, and after all but the port range.
const Named kTaken = {
    {"tcp_abort_on_overflow", "1"},
    {"tcp_ipfrag_time", "20"},
};

class RejectedValuesTest : public KernelTest {};

TEST_F(RejectedValuesTest, AreToldAsIfTheyHadBeenTakenAndChangeNothing) {
  const Values snapshot = Snapshot();
  for (const Rejected& rejected : kRejected) {
    SCOPED_TRACE(testing::Message() << rejected.name << " = " << rejected.value);
    Named named = kTaken;
    named.emplace_back(rejected.name, rejected.value);
    auto layer = NewLayer();
    EXPECT_TRUE(Configure(*layer, named));
    EXPECT_EQ(output.Take(),
              ReceivedLines(named) + WriteLines(FirstRequest(snapshot, named)) + "{success}\n");
    EXPECT_EQ(KernelText(rejected.file), found.at(rejected.file));
    EXPECT_EQ(KernelText("ipv4/tcp_abort_on_overflow"), "1");
    EXPECT_EQ(KernelText("ipv4/ipfrag_time"), "20");
    layer->Release();
    EXPECT_THAT(Changes(found, ReadKernel()), IsEmpty());
  }
}

TEST_F(RejectedValuesTest, ReplaceNoValueOfAnEarlierRequestEither) {
  auto layer = NewLayer();
  ASSERT_TRUE(Configure(*layer, "tcp_fin_timeout", "20"));
  EXPECT_TRUE(Configure(*layer, "tcp_fin_timeout", "junk"));
  EXPECT_EQ(KernelText("ipv4/tcp_fin_timeout"), "20");
}

TEST_F(RejectedValuesTest, DoNotKeepTheWordsBeforeThemFromBeingTaken) {
  const Named named = {
      {"tcp_rmem_min", "6000"},
      {"tcp_rmem_default", "60000"},
      {"tcp_rmem_max", "junk"},
  };
  const std::string kept = Words(found.at("ipv4/tcp_rmem")).at(2);
  auto layer = NewLayer();
  EXPECT_TRUE(Configure(*layer, named));
  EXPECT_EQ(KernelText("ipv4/tcp_rmem"), "6000 60000 " + kept);
  layer->Release();
  EXPECT_THAT(Changes(found, ReadKernel()), IsEmpty());
}

}  // namespace
