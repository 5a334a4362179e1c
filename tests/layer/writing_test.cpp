// Writing the catalogue to the kernel.

#include "tests/layer/fixture.h"

namespace {

const std::string kMissing = "]; does not exist. Skipped.\n";
const std::string kNotOpened = "error opening stream for write - file [/proc/sys/net/";

TEST_F(LayerTest, WritesTheBareValueAndNothingOfWhatTheFileHeld) {
  const auto layer = NewLayer();
  for (const char* text : {"1", "", " 1 ", "a\nb\n", "%s %n %d", "no number"}) {
    tree.Write("ipv4/tcp_sack", "a text much longer than the value\n");
    layer->Find("tcp_sack").SetValue(text);
    output.Take();
    layer->WriteConfig(&request);
    Values values = StartValues();
    values["tcp_sack"] = text;
    EXPECT_EQ(output.Take(), WriteLines(values));
    EXPECT_EQ(tree.Read("ipv4/tcp_sack"), text);
  }
}

TEST_F(LayerTest, JoinsAContainersFileButShowsItsOwnValue) {
  const auto layer = NewLayer();
  layer->Find("tcp_mem_low").SetValue("1");
  layer->Find("tcp_mem_pressure").SetValue("");
  layer->Find("tcp_mem_high").SetValue("3");
  layer->WriteConfig(&request);
  EXPECT_EQ(tree.Read("ipv4/tcp_mem"), "1  3");
  EXPECT_THAT(output.Take(), testing::HasSubstr("\ntcp_mem_low = 1\ntcp_mem_pressure = \n"
                                                "tcp_mem_high = 3\n"));
}

TEST_F(LayerTest, SkipsAMissingFileWithANoticeWithAndWithoutARequest) {
  const auto layer = NewLayer();
  tree.MakeMissing("ipv4/tcp_sack");
  tree.MakeMissing("ipv4/tcp_rmem");
  const Values skipped = {{"tcp_sack", "file [/proc/sys/net/ipv4/tcp_sack" + kMissing},
                          {"tcp_rmem_min", "file [/proc/sys/net/ipv4/tcp_rmem" + kMissing}};
  for (kaeRequest* with : {static_cast<kaeRequest*>(&request), static_cast<kaeRequest*>(nullptr)}) {
    EXPECT_TRUE(layer->WriteConfig(with));
    EXPECT_EQ(output.Take(), WriteLines(StartValues(), skipped));
    ExpectFiles(StartValues());
  }
  EXPECT_TRUE(request.replies.empty());
}

TEST_F(LayerTest, TellsAFailureAndGoesOnWithoutARequest) {
  const auto layer = NewLayer();
  tree.MakeFolder("core/rmem_max");
  tree.MakeReadOnly("ipv4/tcp_sack");
  tree.MakeLoop("ipv4/ip_local_port_range");
  EXPECT_TRUE(layer->WriteConfig(nullptr));
  EXPECT_EQ(
      output.Take(),
      WriteLines(StartValues(),
                 {{"rmem_max", kNotOpened + "core/rmem_max]; error: Is a directory\n"},
                  {"tcp_sack", kNotOpened + "ipv4/tcp_sack]; error: Read-only file system\n"},
                  {"tcp_port_min", kNotOpened + "ipv4/ip_local_port_range]; error: Too many levels "
                                                "of symbolic links\n"}}));
  EXPECT_EQ(tree.Read("ipv4/tcp_stdurg"), StartValues()["tcp_stdurg"]);
}

}  // namespace
