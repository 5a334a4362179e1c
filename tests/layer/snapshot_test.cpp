// The snapshot, and going back to it.

#include <filesystem>
#include <iterator>

#include "tests/layer/fixture.h"

namespace {

using recording_host::Settings;
using recording_host::Value;

std::ptrdiff_t OpenDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST_F(LayerTest, ReadsNothingForAnEmptyMap) {
  const auto layer = NewLayer();
  layer->Empty();
  EXPECT_TRUE(layer->GetPreviousSettings());
  EXPECT_EQ(output.Take(), "\nreading previous config...\nreading config done\n");
}

TEST_F(LayerTest, AnswersTrueThoughNoFileCanBeRead) {
  const auto layer = NewLayer();
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    tree.MakeLoop(setting.file);
  }
  EXPECT_TRUE(layer->GetPreviousSettings());
}

TEST_F(LayerTest, TellsAMissingFileKeepsItsDefaultAndGoesOn) {
  tree.MakeMissing("ipv4/tcp_sack");
  const OpenLayer layer;
  Values values = KernelValues();
  EXPECT_EQ(output.Take(),
            SnapshotLines(values,
                          {
                              {"tcp_sack",
                               "error opening stream for read -  file "
                               "[/proc/sys/net/ipv4/tcp_sack]; error: No such file or "
                               "directory\n"}
  }) +
                kToPreviousLines);
  EXPECT_STREQ(layer.Find("tcp_sack").GetPrevValue(), "1");
  EXPECT_STREQ(layer.Find("tcp_sack").GetValue(), "1");
}

TEST_F(LayerTest, TellsTheSystemsErrorForAFileThatCannotBeOpenedForReading) {
  tree.MakeLoop("core/wmem_max");
  const OpenLayer layer;
  EXPECT_THAT(output.Take(),
              testing::HasSubstr("\nerror opening stream for read -  file "
                                 "[/proc/sys/net/core/wmem_max]; error: Too many levels of "
                                 "symbolic links\n"));
}

TEST_F(LayerTest, ShowsTheChildrenOfAMissingFileWithTheirDefaults) {
  tree.MakeMissing("ipv4/tcp_rmem");
  const OpenLayer layer;
  Values values = KernelValues();
  values["tcp_rmem_default"] = "87380";
  values["tcp_rmem_max"] = "174760";
  EXPECT_EQ(output.Take(),
            SnapshotLines(values,
                          {
                              {"tcp_rmem_min",
                               "error opening stream for read -  file "
                               "[/proc/sys/net/ipv4/tcp_rmem]; error: No such file or "
                               "directory\n"}
  }) +
                kToPreviousLines);
}

TEST_F(LayerTest, ReadsWithoutAskingToWrite) {
  tree.MakeReadOnly("ipv4/tcp_sack");
  const OpenLayer layer;
  EXPECT_EQ(output.Take(), SnapshotLines(KernelValues()) + kToPreviousLines);
}

// Each obstacle leaves the stream in a state of its own, from which the next file has to be spared.
TEST_F(LayerTest, ShowsTheDefaultForAFileWithoutAWordAndReadsTheNextOne) {
  for (const char* text : {"", " ", "\n", "\t\n "}) {
    tree.Write("ipv4/tcp_sack", text);
    const OpenLayer layer;
    Values values = KernelValues();
    values["tcp_sack"] = "1";
    EXPECT_EQ(output.Take(), SnapshotLines(values) + kToPreviousLines) << '"' << text << '"';
  }
}

TEST_F(LayerTest, ShowsTheDefaultForAFolderWhichOpensButCannotBeRead) {
  tree.MakeFolder("ipv4/tcp_sack");
  const OpenLayer layer;
  Values values = KernelValues();
  values["tcp_sack"] = "1";
  EXPECT_EQ(output.Take(), SnapshotLines(values) + kToPreviousLines);
}

TEST_F(LayerTest, ReadsAFileWithoutANewline) {
  tree.Write("ipv4/tcp_sack", "0");
  const OpenLayer layer;
  Values values = KernelValues();
  values["tcp_sack"] = "0";
  EXPECT_EQ(output.Take(), SnapshotLines(values) + kToPreviousLines);
}

TEST_F(LayerTest, ReadsTheFirstWordAloneOfAPlainSettingsFile) {
  tree.Write("ipv4/tcp_sack", "  5 6\n7\n");
  const OpenLayer layer;
  EXPECT_STREQ(layer.Find("tcp_sack").GetPrevValue(), "5");
}

TEST_F(LayerTest, ShowsEachOfThreeWordsOnItsOwnLine) {
  tree.Write("ipv4/tcp_rmem", "4096\t131072\t33554432\n");
  const OpenLayer layer;
  Values values = KernelValues();
  values["tcp_rmem_min"] = "4096";
  values["tcp_rmem_default"] = "131072";
  values["tcp_rmem_max"] = "33554432";
  EXPECT_EQ(output.Take(), SnapshotLines(values) + kToPreviousLines);
}

TEST_F(LayerTest, KeepsTheDefaultsOfLaterChildrenWhenTheFileIsShort) {
  tree.Write("ipv4/tcp_mem", "5\n");
  const OpenLayer layer;
  Values values = KernelValues();
  values["tcp_mem_low"] = "5";
  values["tcp_mem_pressure"] = "65536";
  values["tcp_mem_high"] = "98304";
  EXPECT_EQ(output.Take(), SnapshotLines(values) + kToPreviousLines);
}

TEST_F(LayerTest, IgnoresTheSurplusWordsOfAFile) {
  tree.Write("ipv4/ip_local_port_range", "5 6 7 8\n");
  const OpenLayer layer;
  Values values = KernelValues();
  values["tcp_port_min"] = "5";
  values["tcp_port_max"] = "6";
  EXPECT_EQ(output.Take(), SnapshotLines(values) + kToPreviousLines);
}

TEST_F(LayerTest, ShowsAChildThatComesBeforeItsContainerAsItWasBefore) {
  const auto layer = NewLayer();
  layer->HoldAChildBeforeItsContainer();
  tree.Write("ipv4/tcp_rmem", "8 9\n");
  layer->GetPreviousSettings();
  EXPECT_EQ(output.Take(),
            "\nreading previous config...\n"
            "tcp_rmem_default = 2\n"
            "tcp_rmem_min = 8\n"
            "reading config done\n");
  EXPECT_STREQ(layer->Find("tcp_rmem_default").GetPrevValue(), "9");
}

TEST_F(LayerTest, KeepsNulBytesOfAValueThoughTheyEndItsLine) {
  using std::string_literals::operator""s;
  tree.Write("ipv4/tcp_sack", "1\0002\n"s);
  OpenLayer layer;
  Values values = KernelValues();
  values["tcp_sack"] = "1";
  EXPECT_EQ(output.Take(), SnapshotLines(values) + kToPreviousLines);
  layer.WritePrevious();
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "1\0002"s);
  EXPECT_EQ(output.Take(), kToPreviousLines + WriteLines(values));
}

TEST_F(LayerTest, ReadsAValueOfAnyLength) {
  const std::string word(1 << 20, '7');
  tree.Write("ipv4/tcp_sack", word);
  const OpenLayer layer;
  EXPECT_EQ(layer.Find("tcp_sack").GetPrevValue(), word);
}

TEST_F(LayerTest, TakesTheSnapshotOnceAndForAll) {
  const auto layer = NewLayer();
  tree.Write("ipv4/tcp_sack", "other\n");
  Configure(*layer, Settings({Value("tcp_sack", "0")}));
  layer->WritePrevious();
  Configure(*layer, nullptr);
  EXPECT_STREQ(layer->Find("tcp_sack").GetPrevValue(), KernelValues()["tcp_sack"].c_str());
}

TEST_F(LayerTest, GoesBackToThePreviousValuesOfAnEmptyMap) {
  const auto layer = NewLayer();
  layer->Empty();
  layer->SetToPrevious();
  EXPECT_EQ(output.Take(), "\nsetting to previous values\n");
}

TEST_F(LayerTest, GoesBackToThePreviousValueOfEverySetting) {
  const auto layer = NewLayer();
  for (const auto& [key, setting] : layer->settings_) {
    setting->SetValue("other");
  }
  tree.Write("ipv4/tcp_sack", "untouched");
  layer->SetToPrevious();
  EXPECT_EQ(output.Take(), kToPreviousLines);
  for (const auto& [name, value] : KernelValues()) {
    EXPECT_EQ(layer->Find(name).GetValue(), value) << name;
  }
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "untouched");
}

TEST_F(LayerTest, GivesBackTheSnapshotsValueAfterARequestHasSetOne) {
  const auto layer = NewLayer();
  Configure(*layer, Settings({Value("tcp_sack", "0")}));
  EXPECT_STREQ(layer->Find("tcp_sack").GetValue(), "0");
  layer->SetToPrevious();
  EXPECT_STREQ(layer->Find("tcp_sack").GetValue(), KernelValues()["tcp_sack"].c_str());
}

TEST_F(LayerTest, LeavesNoFileOpen) {
  const std::ptrdiff_t before = OpenDescriptors();
  tree.MakeFolder("ipv4/tcp_sack");
  const auto layer = NewLayer();
  EXPECT_EQ(OpenDescriptors(), before);
  Configure(*layer, Settings());
  layer->WritePrevious();
  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
