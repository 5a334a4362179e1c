// The life of one layer on a kernel with obstacles of every kind, line by line as transcript.txt
// has it.

#include <fstream>
#include <iterator>

#include "tests/layer/fixture.h"

namespace {

using recording_host::Element;
using recording_host::Settings;
using recording_host::Text;
using recording_host::Value;

std::string ExpectedTranscript() {
  std::ifstream file(TRANSCRIPT);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(LayerTest, TellsItsWholeLifeAmongObstaclesLineByLine) {
  tree.MakeMissing("ipv4/tcp_bic");
  tree.MakeMissing("ipv4/tcp_mem");
  tree.MakeLoop("core/wmem_max");
  tree.Write("ipv4/tcp_frto", "");
  tree.Write("ipv4/tcp_rmem", "4096\n");
  tree.Write("ipv4/tcp_wmem", "4096\t16384\t131072\t9999\n");
  auto* layer = new OpenLayer;

  tree.Write("core/wmem_max", "112640\n");
  EXPECT_TRUE(Configure(*layer, Settings({Value("tcp_sack", "0"), Value("tcp_mem_high", "7"),
                                          Value("unknown", "8"), Element("tcp_ecn")})));
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "0");
  EXPECT_EQ(tree.Read("ipv4/tcp_frto"), "0");
  EXPECT_EQ(tree.Read("ipv4/tcp_rmem"), "4096 87380 174760");
  EXPECT_EQ(tree.Read("ipv4/tcp_wmem"), "4096 16384 131072");

  tree.MakeFolder("ipv4/tcp_syncookies");
  tree.MakeReadOnly("ipv4/tcp_westwood");
  EXPECT_FALSE(Configure(*layer, Settings({Text("\n"), Value("tcp_retries1", "4"),
                                           Element("tcp_frto", {Element("b"), Text("9")})})));
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), KernelValues()["tcp_sack"]);
  EXPECT_EQ(tree.Read("ipv4/tcp_retries1"), KernelValues()["tcp_retries1"]);

  layer->do_Release();
  EXPECT_EQ(output.Take(), ExpectedTranscript());
}

}  // namespace
