// The descriptors 0 to 2 where a host opens or closes them itself while standard output is closed.

#include "tests/faults/low_descriptors_fixture.h"

#include <fcntl.h>
#include <unistd.h>

#include "tests/layer/odd_stream.h"

namespace {

// Two kinds, the second of which looks just like what the plug-in takes them by.
TEST_F(LowDescriptorsTest, BelongToTheHostAgainWhenItGetsAnError) {
  const auto layer = NewLayer();
  tree.MakeFolder("ipv4/tcp_sack");
  for (const int mode : {O_WRONLY, O_PATH}) {
    std::vector<bool> at_the_reply;
    std::vector<bool> afterwards;
    request.on_error = [&] {
      at_the_reply = WhichAreOpen();
      open("/dev/null", O_RDONLY | O_CLOEXEC);
      open(mode == O_PATH ? "/" : "/dev/null", mode | O_CLOEXEC);
    };
    {
      const BrokenOutput broken(kAllClosed);
      layer->WriteConfig(&request);
      afterwards = WhichAreOpen();
    }
    EXPECT_EQ(at_the_reply, (std::vector<bool>{false, false, false}));
    EXPECT_EQ(afterwards, (std::vector<bool>{true, true, false}));
  }
}

// Its file is still open, but not with one of them.
TEST_F(LowDescriptorsTest, BelongToTheHostAgainWhenAnOddStreamIsTheError) {
  const auto layer = NewLayer();
  std::vector<bool> at_the_reply;
  request.on_error = [&] { at_the_reply = WhichAreOpen(); };
  {
    const OddStream odd(TunableTree::Path("ipv4/tcp_sack"), std::ios::failbit);
    const BrokenOutput broken(kAllClosed);
    layer->WriteConfig(&request);
  }
  EXPECT_EQ(at_the_reply, (std::vector<bool>{false, false, false}));
}

TEST_F(LowDescriptorsTest, AreLeftToAHostThatOpensThemMeanwhile) {
  std::string target;
  const auto layer = LayerThatActs([] {
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(null, STDOUT_FILENO);
    close(null);
  });
  {
    const BrokenOutput broken(kOutputClosed);
    layer->WriteConfig(&request);
    target = Target(STDOUT_FILENO);
  }
  EXPECT_EQ(target, "/dev/null");
}

TEST_F(LowDescriptorsTest, LeaveAnErrorAsItIsThoughTheHostHasClosedThem) {
  const auto layer = LayerThatActs([] { close(STDOUT_FILENO); });
  layer->settings_[&kKeys[1]] = new CTCPSetting("tcp_sack", "1", "tcp_sack", nullptr, nullptr);
  tree.MakeFolder("ipv4/tcp_sack");
  {
    const BrokenOutput broken(kOutputClosed);
    layer->WriteConfig(&request);
  }
  ASSERT_EQ(request.replies.size(), 1U);
  EXPECT_EQ(request.replies[0].detail,
            "[" + TunableTree::Path("ipv4/tcp_sack") + "]: Is a directory");
}

}  // namespace
