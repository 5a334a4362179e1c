// The snapshot, and going back to it.

#include "tests/layer/fixture.h"

namespace {

using recording_host::Settings;
using recording_host::Value;

std::string NotReadLine(const std::string& file, const std::string& error) {
  return "error opening stream for read -  file [" + TunableTree::Path(file) +
         "]; error: " + error + "\n";
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

TEST_F(SnapshotTest, LetsEachPassOverAnEmptyMapTellItsHeadAndItsEnd) {
  const auto layer = NewLayer();
  layer->Empty();
  EXPECT_TRUE(layer->GetPreviousSettings());
  EXPECT_EQ(output.Take(), "\nreading previous config...\nreading config done\n");
  layer->SetToPrevious();
  EXPECT_EQ(output.Take(), kToPreviousLines);
  EXPECT_TRUE(layer->WriteConfig(&request));
  EXPECT_EQ(output.Take(), "\nwriting config...\nconfig done\n");
  EXPECT_TRUE(request.replies.empty());
}

TEST_F(SnapshotTest, AnswersTrueThoughNoFileCanBeRead) {
  const auto layer = NewLayer();
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    tree.MakeLoop(setting.file);
  }
  EXPECT_TRUE(layer->GetPreviousSettings());
}

TEST_F(SnapshotTest, TellsFilesThatCannotBeReadAndKeepsTheirDefaultsForTheRollback) {
  tree.MakeMissing("ipv4/tcp_sack");
  tree.MakeLoop("ipv4/tcp_rmem");
  ExpectSnapshot(
      {{"tcp_rmem_default", "87380"}, {"tcp_rmem_max", "174760"}},
      {{"tcp_sack", NotReadLine("ipv4/tcp_sack", "No such file or directory")},
       {"tcp_rmem_min", NotReadLine("ipv4/tcp_rmem", "Too many levels of symbolic links")}});
  const auto layer = NewLayer();
  EXPECT_STREQ(layer->Find("tcp_sack").GetPrevValue(), "1");
  EXPECT_STREQ(layer->Find("tcp_sack").GetValue(), "1");
  tree.Write("ipv4/tcp_sack", "0\n");
  layer->WritePrevious();
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "1");
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
  tree.MakeFolder("ipv4/tcp_sack");  // opens, but cannot be read
  ExpectSnapshot({{"tcp_sack", "1"}});
}

TEST_F(SnapshotTest, ShowsTheWordsOfAFileAndForThoseItLacksTheDefaults) {
  tree.Write("ipv4/tcp_sack", "0");
  tree.Write("ipv4/tcp_frto", "  5 6\n7\n");
  tree.Write("ipv4/tcp_rmem", "4096\t131072\t33554432\n");
  tree.Write("ipv4/tcp_mem", "5\n");
  tree.Write("ipv4/ip_local_port_range", "5 6 7 8\n");
  ExpectSnapshot({{"tcp_sack", "0"},
                  {"tcp_frto", "5"},
                  {"tcp_rmem_min", "4096"},
                  {"tcp_rmem_default", "131072"},
                  {"tcp_rmem_max", "33554432"},
                  {"tcp_mem_low", "5"},
                  {"tcp_mem_pressure", "65536"},
                  {"tcp_mem_high", "98304"},
                  {"tcp_port_min", "5"},
                  {"tcp_port_max", "6"}});
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

TEST_F(SnapshotTest, GoesBackToThePreviousValueOfEverySetting) {
  const auto layer = NewLayer();
  Configure(*layer, Settings({Value("tcp_frto", "5"), Value("tcp_mem_high", "6")}));
  output.Take();
  tree.Write("ipv4/tcp_sack", "untouched");
  layer->SetToPrevious();
  EXPECT_EQ(output.Take(), kToPreviousLines);
  for (const auto& [name, value] : KernelValues()) {
    EXPECT_EQ(layer->Find(name).GetValue(), value) << name;
  }
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "untouched");
}

}  // namespace
