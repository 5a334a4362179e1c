// The kernel's own TCP does what a request says, and what it did before after the release.

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "tests/kernel/fixture.h"
#include "tests/kernel/loopback.h"

namespace {

using testing::AllOf;
using testing::Ge;
using testing::Le;

constexpr int kUsualOptions = TCPI_OPT_TIMESTAMPS | TCPI_OPT_SACK | TCPI_OPT_WSCALE;

class EffectTest : public KernelTest {
 protected:
  EffectTest() { BringUpLoopback(); }

  // The options that both ends of a new connection agree on.
  static int NewConnectionOptions() {
    const LoopbackConnection connection;
    EXPECT_EQ(connection.client_options(), connection.server_options());
    return connection.client_options();
  }

  static int NewConnectionPort() { return LoopbackConnection().client_port(); }
};

TEST_F(EffectTest, NewConnectionsDoWithoutAnOptionFromARequestToTheRelease) {
  const struct {
    const char* name;
    int option;
  } cases[] = {
      {"tcp_timestamps", TCPI_OPT_TIMESTAMPS},
      {"tcp_sack", TCPI_OPT_SACK},
      {"tcp_window_scaling", TCPI_OPT_WSCALE},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(NewConnectionOptions(), kUsualOptions);
    auto layer = NewLayer();
    EXPECT_TRUE(Configure(*layer, c.name, "0"));
    EXPECT_EQ(NewConnectionOptions(), kUsualOptions & ~c.option);
    layer->Release();
    EXPECT_EQ(NewConnectionOptions(), kUsualOptions);
  }
}

TEST_F(EffectTest, NewConnectionsAgreeOnCongestionNotificationFromARequestToTheRelease) {
  EXPECT_EQ(NewConnectionOptions(), kUsualOptions);
  auto layer = NewLayer();
  EXPECT_TRUE(Configure(*layer, "tcp_ecn", "1"));
  EXPECT_EQ(NewConnectionOptions(), kUsualOptions | TCPI_OPT_ECN);
  layer->Release();
  EXPECT_EQ(NewConnectionOptions(), kUsualOptions);
}

TEST_F(EffectTest, AConnectionKeepsWhatItAgreedOnBeforeTheRequest) {
  const LoopbackConnection connection;
  auto layer = NewLayer();
  EXPECT_TRUE(Configure(*layer, "tcp_sack", "0"));
  EXPECT_EQ(connection.client_options(), kUsualOptions);
  EXPECT_EQ(NewConnectionOptions(), kUsualOptions & ~TCPI_OPT_SACK);
}

TEST_F(EffectTest, NewConnectionsTakeTheirPortFromTheRequestedRange) {
  const Named one = {
      {"tcp_port_min", "20000"},
      {"tcp_port_max", "20000"},
  };
  const Named four = {
      {"tcp_port_min", "20002"},
      {"tcp_port_max", "20005"},
  };
  auto layer = NewLayer();
  EXPECT_TRUE(Configure(*layer, one));
  EXPECT_EQ(NewConnectionPort(), 20000);
  EXPECT_TRUE(Configure(*layer, four));
  EXPECT_THAT(NewConnectionPort(), AllOf(Ge(20002), Le(20005)));
  layer->Release();
  const Values values = Snapshot();
  EXPECT_THAT(NewConnectionPort(), AllOf(Ge(std::stoi(values.at("tcp_port_min"))),
                                         Le(std::stoi(values.at("tcp_port_max")))));
  EXPECT_NE(values.at("tcp_port_min"), "20002");
}

TEST_F(EffectTest, NewSocketsTakeTheirBuffersAndTimesFromARequestToTheRelease) {
  const struct {
    const char* name;
    const char* value;
    int level;
    int option;
    int expected;
  } cases[] = {
      {"tcp_rmem_default", "98304", SOL_SOCKET, SO_RCVBUF, 98304},
      {"tcp_wmem_default", "32768", SOL_SOCKET, SO_SNDBUF, 32768},
      {"tcp_keepalive_time", "601", IPPROTO_TCP, TCP_KEEPIDLE, 601},
      {"tcp_keepalive_intvl", "31", IPPROTO_TCP, TCP_KEEPINTVL, 31},
      {"tcp_keepalive_probes", "4", IPPROTO_TCP, TCP_KEEPCNT, 4},
      {"tcp_syn_retries", "2", IPPROTO_TCP, TCP_SYNCNT, 2},
      {"tcp_fin_timeout", "17", IPPROTO_TCP, TCP_LINGER2, 17},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const int before = NewSocketOption(c.level, c.option);
    EXPECT_NE(before, c.expected);
    auto layer = NewLayer();
    EXPECT_TRUE(Configure(*layer, c.name, c.value));
    EXPECT_EQ(NewSocketOption(c.level, c.option), c.expected);
    layer->Release();
    EXPECT_EQ(NewSocketOption(c.level, c.option), before);
  }
}

}  // namespace
