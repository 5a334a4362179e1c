// A file stream that opens and is not good all the same.

#include "tests/layer/odd_stream.h"

#include "tests/layer/fixture.h"

namespace {

const std::string kError = "tcp_sack]; error: Invalid cross-device link\n";
const std::string kNotGood = "stream not good for i/o - file [/proc/sys/net/ipv4/" + kError;

Values InsteadOfSack(const std::string& line) { return {std::pair("tcp_sack", line)}; }

class OddStreamTest : public LayerTest, public testing::WithParamInterface<std::ios::iostate> {};

TEST_P(OddStreamTest, IsToldAndPassedOverWithoutARequest) {
  const auto layer = NewLayer();
  {
    const OddStream odd(TunableTree::Path("ipv4/tcp_sack"), GetParam());
    EXPECT_TRUE(layer->WriteConfig(nullptr));
  }
  EXPECT_EQ(output.Take(), WriteLines(StartValues(), InsteadOfSack(kNotGood)));
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "");
}

TEST_P(OddStreamTest, IsToldAndThenEndsARequest) {
  const auto layer = NewLayer();
  const OddStream odd(TunableTree::Path("ipv4/tcp_sack"), GetParam());
  EXPECT_FALSE(layer->WriteConfig(&request));
  const std::string lines = WriteLines(StartValues());
  const std::string detail = "[/proc/sys/net/ipv4/tcp_sack]: Invalid cross-device link";
  EXPECT_EQ(output.Take(), lines.substr(0, lines.find("tcp_sack = ")) + kNotGood +
                               "file write error: " + detail + "\n" + kToPreviousLines +
                               WriteLines(KernelValues(), InsteadOfSack(kNotGood)) +
                               "{error \"file error\" \"" + detail + "\"}\n");
}

INSTANTIATE_TEST_SUITE_P(Flags, OddStreamTest,
                         testing::Values(std::ios::badbit, std::ios::failbit, std::ios::eofbit));

TEST_F(LayerTest, TellsAnOddStreamInTheSnapshotByItsFlag) {
  const struct {
    std::ios::iostate flag;
    const char* head;
  } cases[] = {
      {std::ios::badbit, "error opening stream for read -  file [/proc/sys/net/ipv4/"},
      {std::ios::failbit, "error opening stream for read -  file [/proc/sys/net/ipv4/"},
      {std::ios::eofbit, "stream not good for i/o -  file [/proc/sys/net/ipv4/"},
  };
  for (const auto& c : cases) {
    const OddStream odd(TunableTree::Path("ipv4/tcp_sack"), c.flag);
    const OpenLayer layer;
    EXPECT_EQ(output.Take(),
              SnapshotLines(KernelValues(), InsteadOfSack(c.head + kError)) + kToPreviousLines);
    EXPECT_STREQ(layer.Find("tcp_sack").GetPrevValue(), "1");
  }
}

}  // namespace
