// The catalogue, row by row.

#include <cstring>
#include <typeinfo>

#include "settings/CTCPCoreSetting.h"
#include "settings/CTCPSettingContainer.h"
#include "tests/layer/fixture.h"

namespace {

using recording_host::Intern;
using recording_host::Settings;
using recording_host::Value;

std::string KindOf(const CTCPSetting& setting) {
  if (typeid(setting) == typeid(CTCPCoreSetting)) {
    return "core";
  }
  if (typeid(setting) == typeid(CTCPSettingContainer)) {
    return "container";
  }
  return setting.HasParent() ? "child" : "plain";
}

// The parent is a record's last field; nothing but the record itself can ask for it.
const CTCPSetting* ParentOf(const CTCPSetting& setting) {
  const void* parent = nullptr;
  std::memcpy(&parent, reinterpret_cast<const char*>(&setting + 1) - sizeof(void*), sizeof(void*));
  return static_cast<const CTCPSetting*>(parent);
}

class CatalogueRow : public LayerTest, public testing::WithParamInterface<ExpectedSetting> {
 protected:
  const ExpectedSetting& row = GetParam();
};

TEST_P(CatalogueRow, HasItsNameKindAndFile) {
  const auto layer = NewLayer();
  const CTCPSetting& setting = layer->Find(row.name);
  EXPECT_EQ(KindOf(setting), row.kind);
  EXPECT_EQ(setting.GetProcPath(), TunableTree::Path(row.file));
  EXPECT_EQ(setting.GetXmlName(), Intern(row.name));
}

TEST_P(CatalogueRow, IsAChildOfItsContainerAlone) {
  const auto layer = NewLayer();
  const CTCPSetting* container = *row.container != '\0' ? &layer->Find(row.container) : nullptr;
  EXPECT_EQ(ParentOf(layer->Find(row.name)), container);
}

TEST_P(CatalogueRow, HasItsDefault) {
  const auto layer = NewLayer();
  CTCPSetting& setting = layer->Find(row.name);
  setting.SetValue("other");
  setting.SetDefault();
  EXPECT_STREQ(setting.GetValue(), row.default_value);
}

TEST_P(CatalogueRow, StartsFromTheKernelOrFromItsDefault) {
  const auto layer = NewLayer();
  const CTCPSetting& setting = layer->Find(row.name);
  EXPECT_STREQ(setting.GetPrevValue(), KernelValues()[row.name].c_str());
  EXPECT_EQ(setting.GetValue(),
            row.starts_from_default ? row.default_value : KernelValues()[row.name]);
}

TEST_P(CatalogueRow, KeepsItsDefaultWhereTheFileCannotBeRead) {
  tree.MakeMissing(row.file);
  const auto layer = NewLayer();
  EXPECT_STREQ(layer->Find(row.name).GetPrevValue(), row.default_value);
  EXPECT_STREQ(layer->Find(row.name).GetValue(), row.default_value);
}

TEST_P(CatalogueRow, IsSetByItsOwnElementAndWrittenToItsOwnPlace) {
  const auto layer = NewLayer();
  EXPECT_TRUE(Configure(*layer, Settings({Value(row.name, "77")})));
  Values values = StartValues();
  values[row.name] = "77";
  EXPECT_EQ(output.Take(), kReceivedLine + "Setting new value - " + row.name + " = 77\n" +
                               WriteLines(values) + "{success}\n");
  ExpectFiles(values);
}

INSTANTIATE_TEST_SUITE_P(All, CatalogueRow, testing::ValuesIn(ExpectedCatalogue()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(LayerTest, HoldsTheCatalogueInItsOrderAndNothingElse) {
  const auto layer = NewLayer();
  std::vector<std::string> names;
  for (const auto& [key, setting] : layer->settings_) {
    names.emplace_back(setting->GetName());
  }
  std::vector<std::string> expected;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    expected.emplace_back(setting.name);
  }
  EXPECT_EQ(names, expected);
}

TEST_F(LayerTest, Holds2CoreSettings4ContainersAnd51PlainOnesOfWhich7AreChildren) {
  const auto layer = NewLayer();
  std::map<std::string, int> count;
  for (const auto& [key, setting] : layer->settings_) {
    ++count[KindOf(*setting)];
  }
  EXPECT_EQ(layer->settings_.size(), 57U);
  EXPECT_EQ(count, (std::map<std::string, int>{
                       {"core", 2}, {"container", 4}, {"plain", 44}, {"child", 7}}));
}

TEST_F(LayerTest, KeysEachSettingByItsNameConstantWhichIsNotTheInternedName) {
  const auto layer = NewLayer();
  const auto another = NewLayer();
  for (const auto& [key, setting] : layer->settings_) {
    EXPECT_STREQ(key, setting->GetName());
    EXPECT_NE(key, setting->GetXmlName()) << key;
    EXPECT_EQ(another->settings_.count(key), 1U) << key << " has a second constant";
  }
}

// Constants apart would lie as a compiler pleases, and the passes' order with them.
TEST_F(LayerTest, HasAllItsNameConstantsInOneTable) {
  const auto layer = NewLayer();
  std::vector<std::ptrdiff_t> steps;
  const char* previous = nullptr;
  for (const auto& [key, setting] : layer->settings_) {
    if (previous != nullptr) {
      steps.push_back(key - previous);
    }
    previous = key;
  }
  EXPECT_THAT(steps, testing::Each(steps.front()));
}

TEST_F(LayerTest, ComparesKeysAsAddresses) {
  const auto layer = NewLayer();
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    const std::string copy = setting.name;
    EXPECT_EQ(layer->settings_.count(copy.c_str()), 0U) << copy;
  }
  EXPECT_TRUE((std::is_same_v<decltype(layer->settings_), std::map<const char*, CTCPSetting*>>));
}

TEST_F(LayerTest, ImposesTheFifteenDefaultsWhateverTheKernelHad) {
  tree.Write("ipv4/tcp_ecn", "2\n");
  tree.Write("ipv4/tcp_keepalive_time", "600\n");
  const auto layer = NewLayer();
  EXPECT_STREQ(layer->Find("tcp_ecn").GetValue(), "0");
  EXPECT_STREQ(layer->Find("tcp_ecn").GetPrevValue(), "2");
  EXPECT_STREQ(layer->Find("tcp_keepalive_time").GetValue(), "7200");
  EXPECT_STREQ(layer->Find("tcp_keepalive_time").GetPrevValue(), "600");
}

TEST_F(LayerTest, ResetsExactlyFifteenSettings) {
  const auto layer = NewLayer();
  for (const auto& [key, setting] : layer->settings_) {
    setting->SetValue("other");
  }
  layer->SetDefaults();
  EXPECT_EQ(output.Take(), "");
  int reset = 0;
  for (const ExpectedSetting& row : ExpectedCatalogue()) {
    const char* expected = row.starts_from_default ? row.default_value : "other";
    EXPECT_STREQ(layer->Find(row.name).GetValue(), expected) << row.name;
    reset += row.starts_from_default ? 1 : 0;
  }
  EXPECT_EQ(reset, 15);
}

TEST_F(LayerTest, TakesTheKernelsValueForASettingOutsideTheFifteen) {
  tree.Write("ipv4/tcp_sack", "0\n");  // the default is "1"
  const auto layer = NewLayer();
  EXPECT_STREQ(layer->Find("tcp_sack").GetValue(), "0");
  EXPECT_STREQ(layer->Find("tcp_sack").GetPrevValue(), "0");
}

TEST_F(LayerTest, WritesTheSameNumberTwiceForAPortRangeThatCouldNotBeRead) {
  tree.MakeMissing("ipv4/ip_local_port_range");
  const auto layer = NewLayer();
  EXPECT_EQ(layer->Find("tcp_port_min").GetWriteValue(), "4096 4096");
}

TEST_F(LayerTest, JoinsTheDefaultsOfTcpMemInTheOrderLowPressureHigh) {
  tree.MakeMissing("ipv4/tcp_mem");
  const auto layer = NewLayer();
  EXPECT_EQ(layer->Find("tcp_mem_low").GetWriteValue(), "49152 65536 98304");
}

TEST_F(LayerTest, NamesIpfragTimeByItsOwnElementAndTheJoinedFilesByNoneOfTheirOwn) {
  const auto layer = NewLayer();
  EXPECT_TRUE(
      Configure(*layer, Settings({Value("tcp_ipfrag_time", "30"), Value("ipfrag_time", "1"),
                                  Value("tcp_mem", "2"), Value("tcp_rmem", "3"),
                                  Value("tcp_wmem", "4"), Value("ip_local_port_range", "5")})));
  Values values = StartValues();
  values["tcp_ipfrag_time"] = "30";
  EXPECT_EQ(output.Take(), kReceivedLine + "Setting new value - tcp_ipfrag_time = 30\n" +
                               WriteLines(values) + "{success}\n");
  ExpectFiles(values);
}

}  // namespace
