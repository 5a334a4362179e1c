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

std::string MissingLine(const std::string& file) {
  return "error opening stream for read -  file [" + TunableTree::Path(file) +
         "]; error: No such file or directory\n";
}

class SnapshotTest : public LayerTest {
 protected:
  // Checks the lines of a new layer that reads the kernel's values but for `changes`, with the
  // lines of some settings taken by those of `instead`.
  void ExpectSnapshot(const Values& changes, const Values& instead = {}) {
    Values values = KernelValues();
    for (const auto& [name, value] : changes) {
      values.at(name) = value;
    }
    const OpenLayer layer;
    EXPECT_EQ(output.Take(), SnapshotLines(values, instead) + kToPreviousLines);
  }
};

TEST_F(SnapshotTest, ReadsNothingForAnEmptyMap) {
  const auto layer = NewLayer();
  layer->Empty();
  EXPECT_TRUE(layer->GetPreviousSettings());
  EXPECT_EQ(output.Take(), "\nreading previous config...\nreading config done\n");
}

TEST_F(SnapshotTest, AnswersTrueThoughNoFileCanBeRead) {
  const auto layer = NewLayer();
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    tree.MakeLoop(setting.file);
  }
  EXPECT_TRUE(layer->GetPreviousSettings());
}

TEST_F(SnapshotTest, TellsAMissingFileKeepsItsDefaultAndGoesOn) {
  tree.MakeMissing("ipv4/tcp_sack");
  ExpectSnapshot({}, {{"tcp_sack", MissingLine("ipv4/tcp_sack")}});
  const auto layer = NewLayer();
  EXPECT_STREQ(layer->Find("tcp_sack").GetPrevValue(), "1");
  EXPECT_STREQ(layer->Find("tcp_sack").GetValue(), "1");
}

TEST_F(SnapshotTest, TellsTheSystemsErrorForAFileThatCannotBeOpenedForReading) {
  tree.MakeLoop("core/wmem_max");
  const OpenLayer layer;
  EXPECT_THAT(output.Take(),
              testing::HasSubstr("\nerror opening stream for read -  file "
                                 "[/proc/sys/net/core/wmem_max]; error: Too many levels of "
                                 "symbolic links\n"));
}

TEST_F(SnapshotTest, ShowsTheChildrenOfAMissingFileWithTheirDefaults) {
  tree.MakeMissing("ipv4/tcp_rmem");
  ExpectSnapshot({{"tcp_rmem_default", "87380"}, {"tcp_rmem_max", "174760"}},
                 {{"tcp_rmem_min", MissingLine("ipv4/tcp_rmem")}});
}

TEST_F(SnapshotTest, ReadsWithoutAskingToWrite) {
  tree.MakeReadOnly("ipv4/tcp_sack");
  ExpectSnapshot({});
}

// Each obstacle leaves the stream in a state of its own, from which the next file has to be spared.
TEST_F(SnapshotTest, ShowsTheDefaultForAFileWithoutAWordAndReadsTheNextOne) {
  for (const char* text : {"", " ", "\n", "\t\n "}) {
    tree.Write("ipv4/tcp_sack", text);
    SCOPED_TRACE('"' + std::string(text) + '"');
    ExpectSnapshot({{"tcp_sack", "1"}});
  }
}

TEST_F(SnapshotTest, ShowsTheDefaultForAFolderWhichOpensButCannotBeRead) {
  tree.MakeFolder("ipv4/tcp_sack");
  ExpectSnapshot({{"tcp_sack", "1"}});
}

TEST_F(SnapshotTest, ReadsAFileWithoutANewline) {
  tree.Write("ipv4/tcp_sack", "0");
  ExpectSnapshot({{"tcp_sack", "0"}});
}

TEST_F(SnapshotTest, ReadsTheFirstWordAloneOfAPlainSettingsFile) {
  tree.Write("ipv4/tcp_sack", "  5 6\n7\n");
  const OpenLayer layer;
  EXPECT_STREQ(layer.Find("tcp_sack").GetPrevValue(), "5");
}

TEST_F(SnapshotTest, ShowsEachOfThreeWordsOnItsOwnLine) {
  tree.Write("ipv4/tcp_rmem", "4096\t131072\t33554432\n");
  ExpectSnapshot(
      {{"tcp_rmem_min", "4096"}, {"tcp_rmem_default", "131072"}, {"tcp_rmem_max", "33554432"}});
}

TEST_F(SnapshotTest, KeepsTheDefaultsOfLaterChildrenWhenTheFileIsShort) {
  tree.Write("ipv4/tcp_mem", "5\n");
  ExpectSnapshot({{"tcp_mem_low", "5"}, {"tcp_mem_pressure", "65536"}, {"tcp_mem_high", "98304"}});
}

TEST_F(SnapshotTest, IgnoresTheSurplusWordsOfAFile) {
  tree.Write("ipv4/ip_local_port_range", "5 6 7 8\n");
  ExpectSnapshot({{"tcp_port_min", "5"}, {"tcp_port_max", "6"}});
}

TEST_F(SnapshotTest, ShowsAChildThatComesBeforeItsContainerAsItWasBefore) {
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

TEST_F(SnapshotTest, KeepsNulBytesOfAValueThoughTheyEndItsLine) {
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

TEST_F(SnapshotTest, ReadsAValueOfAnyLength) {
  const std::string word(1 << 20, '7');
  tree.Write("ipv4/tcp_sack", word);
  const OpenLayer layer;
  EXPECT_EQ(layer.Find("tcp_sack").GetPrevValue(), word);
}

TEST_F(SnapshotTest, TakesTheSnapshotOnceAndForAll) {
  const auto layer = NewLayer();
  tree.Write("ipv4/tcp_sack", "other\n");
  Configure(*layer, Settings({Value("tcp_sack", "0")}));
  layer->WritePrevious();
  Configure(*layer, nullptr);
  EXPECT_STREQ(layer->Find("tcp_sack").GetPrevValue(), KernelValues()["tcp_sack"].c_str());
}

TEST_F(SnapshotTest, GoesBackToThePreviousValuesOfAnEmptyMap) {
  const auto layer = NewLayer();
  layer->Empty();
  layer->SetToPrevious();
  EXPECT_EQ(output.Take(), "\nsetting to previous values\n");
}

TEST_F(SnapshotTest, GoesBackToThePreviousValueOfEverySetting) {
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

TEST_F(SnapshotTest, GivesBackTheSnapshotsValueAfterARequestHasSetOne) {
  const auto layer = NewLayer();
  Configure(*layer, Settings({Value("tcp_sack", "0")}));
  EXPECT_STREQ(layer->Find("tcp_sack").GetValue(), "0");
  layer->SetToPrevious();
  EXPECT_STREQ(layer->Find("tcp_sack").GetValue(), KernelValues()["tcp_sack"].c_str());
}

TEST_F(SnapshotTest, LeavesNoFileOpen) {
  const std::ptrdiff_t before = OpenDescriptors();
  tree.MakeFolder("ipv4/tcp_sack");
  const auto layer = NewLayer();
  EXPECT_EQ(OpenDescriptors(), before);
  Configure(*layer, Settings());
  layer->WritePrevious();
  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
