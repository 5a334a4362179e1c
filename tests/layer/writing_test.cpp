// Writing the catalogue to the kernel.

#include <sys/resource.h>

#include <cstdio>
#include <iostream>

#include "tests/layer/fixture.h"

namespace {

const std::string kMissing = "]; does not exist. Skipped.\n";
const std::string kNotOpened = "error opening stream for write - file [/proc/sys/net/";

TEST_F(LayerTest, WritesNothingForAnEmptyMap) {
  const auto layer = NewLayer();
  layer->Empty();
  EXPECT_TRUE(layer->WriteConfig(&request));
  EXPECT_EQ(output.Take(), "\nwriting config...\nconfig done\n");
  EXPECT_TRUE(request.replies.empty());
}

TEST_F(LayerTest, WritesEveryFileAndTellsEverySettingInOrder) {
  const auto layer = NewLayer();
  EXPECT_TRUE(layer->WriteConfig(&request));
  EXPECT_EQ(output.Take(), WriteLines(StartValues()));
  ExpectFiles(StartValues());
}

TEST_F(LayerTest, SendsNoReplyWhenEveryFileCouldBeOpened) {
  const auto layer = NewLayer();
  EXPECT_TRUE(layer->WriteConfig(&request));
  EXPECT_TRUE(request.replies.empty());
}

TEST_F(LayerTest, WritesTheBareTextAndNothingOfWhatTheFileHeld) {
  tree.Write("ipv4/tcp_sack", "a text much longer than the value\n");
  const auto layer = NewLayer();
  layer->Find("tcp_sack").SetValue("1");
  layer->WriteConfig(&request);
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "1");
}

TEST_F(LayerTest, WritesOddValuesAsTheyAre) {
  const auto layer = NewLayer();
  for (const char* text : {"", " 1 ", "a\nb\n", "%s %n %d", "no number"}) {
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

TEST_F(LayerTest, ChangesNoSetting) {
  const auto layer = NewLayer();
  layer->WriteConfig(nullptr);
  for (const auto& [name, value] : StartValues()) {
    EXPECT_EQ(layer->Find(name).GetValue(), value) << name;
    EXPECT_EQ(layer->Find(name).GetPrevValue(), KernelValues()[name]) << name;
  }
}

TEST_F(LayerTest, SkipsAMissingFileWithANoticeWithAndWithoutARequest) {
  tree.MakeMissing("ipv4/tcp_sack");
  const auto layer = NewLayer();
  for (kaeRequest* with : {static_cast<kaeRequest*>(&request), static_cast<kaeRequest*>(nullptr)}) {
    EXPECT_TRUE(layer->WriteConfig(with));
    EXPECT_EQ(
        output.Take(),
        WriteLines(StartValues(), {{"tcp_sack", "file [/proc/sys/net/ipv4/tcp_sack" + kMissing}}));
    ExpectFiles(StartValues());
  }
  EXPECT_TRUE(request.replies.empty());
}

TEST_F(LayerTest, ShowsTheChildrenOfAFileThatIsMissingOrFails) {
  const auto layer = NewLayer();
  tree.MakeMissing("ipv4/tcp_rmem");
  tree.MakeLoop("ipv4/tcp_wmem");
  EXPECT_TRUE(layer->WriteConfig(nullptr));
  EXPECT_EQ(output.Take(),
            WriteLines(
                StartValues(),
                {{"tcp_rmem_min", "file [/proc/sys/net/ipv4/tcp_rmem" + kMissing},
                 {"tcp_wmem_min", kNotOpened + "ipv4/tcp_wmem]; error: Too many levels of symbolic "
                                               "links\n"}}));
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

TEST_F(LayerTest, NeverLooksAtWhatBecameOfAWrite) {
  const auto layer = NewLayer();
  tree.MakeFull("ipv4/tcp_sack");
  EXPECT_TRUE(layer->WriteConfig(&request));
  EXPECT_EQ(output.Take(), WriteLines(StartValues()));
  EXPECT_TRUE(request.replies.empty());
  ExpectFiles(StartValues());
}

TEST_F(LayerTest, WritesAFileThatDidNotExistWhereTheFileSystemLetsItBeCreated) {
  const auto layer = NewLayer();
  std::remove("/proc/sys/net/ipv4/tcp_sack");
  EXPECT_TRUE(layer->WriteConfig(&request));
  EXPECT_EQ(output.Take(), WriteLines(StartValues()));
  ExpectFiles(StartValues());
}

TEST_F(LayerTest, ShowsAChildAtItsOwnPlaceThoughItComesBeforeItsContainer) {
  const auto layer = NewLayer();
  layer->HoldAChildBeforeItsContainer();
  EXPECT_TRUE(layer->WriteConfig(&request));
  EXPECT_EQ(output.Take(),
            "\nwriting config...\ntcp_rmem_default = 2\ntcp_rmem_min = 1\nconfig done\n");
  EXPECT_EQ(tree.Read("ipv4/tcp_rmem"), "1 2");
}

TEST_F(LayerTest, EndsAPassThatHasNeitherOutputNorADescriptorLeft) {
  const auto layer = NewLayer();
  layer->WriteConfig(nullptr);  // a sanitizer takes a descriptor for each class that it meets first
  const std::string before = tree.Read("ipv4/tcp_sack");
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none = {0, limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  std::cout.setstate(std::ios::badbit);
  const bool result = layer->WriteConfig(nullptr);
  std::cout.clear();
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_TRUE(result);
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), before);
}

}  // namespace
