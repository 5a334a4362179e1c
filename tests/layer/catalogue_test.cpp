// The catalogue, row by row.

#include <cstddef>
#include <cstring>
#include <iterator>
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

TEST_F(LayerTest, HoldsEachRowsKindFileDefaultAndContainerInOrder) {
  const auto layer = NewLayer();
  auto entry = layer->settings_.begin();
  std::map<std::string, int> count;
  for (const ExpectedSetting& row : ExpectedCatalogue()) {
    SCOPED_TRACE(row.name);
    ASSERT_NE(entry, layer->settings_.end());
    CTCPSetting& setting = *entry++->second;
    EXPECT_STREQ(setting.GetName(), row.name);
    EXPECT_EQ(KindOf(setting), row.kind);
    EXPECT_EQ(setting.GetProcPath(), TunableTree::Path(row.file));
    EXPECT_EQ(setting.GetXmlName(), Intern(row.name));
    EXPECT_EQ(ParentOf(setting), *row.container != '\0' ? &layer->Find(row.container) : nullptr);
    setting.SetDefault();
    EXPECT_STREQ(setting.GetValue(), row.default_value);
    ++count[KindOf(setting)];
  }
  EXPECT_EQ(layer->settings_.size(), 57U);
  EXPECT_EQ(count, (std::map<std::string, int>{
                       {"core", 2}, {"container", 4}, {"plain", 44}, {"child", 7}}));
}

TEST_F(LayerTest, StartsEachSettingFromTheKernelOrFromOneOfFifteenDefaults) {
  const auto layer = NewLayer();
  const Values kernel = KernelValues();
  int defaults = 0;
  for (const ExpectedSetting& row : ExpectedCatalogue()) {
    const CTCPSetting& setting = layer->Find(row.name);
    EXPECT_EQ(setting.GetPrevValue(), kernel.at(row.name)) << row.name;
    EXPECT_EQ(setting.GetValue(), row.starts_from_default ? row.default_value : kernel.at(row.name))
        << row.name;
    defaults += row.starts_from_default ? 1 : 0;
  }
  EXPECT_EQ(defaults, 15);
}

TEST_F(LayerTest, SetsEachSettingByItsOwnElementAndWritesItToItsOwnPlace) {
  const auto layer = NewLayer();
  Values values = StartValues();
  for (const ExpectedSetting& row : ExpectedCatalogue()) {
    values[row.name] = std::string("7") + row.name;
    EXPECT_TRUE(Configure(*layer, Settings({Value(row.name, values[row.name])})));
    EXPECT_EQ(tree.Read(row.file), FileText(row.file, values));
  }
  ExpectFiles(values);
}

TEST_F(LayerTest, KeysEachSettingByItsNameConstantWhichIsNotTheInternedName) {
  const auto layer = NewLayer();
  const auto another = NewLayer();
  for (const auto& [key, setting] : layer->settings_) {
    EXPECT_STREQ(key, setting->GetName());
    EXPECT_NE(key, setting->GetXmlName()) << key;
    EXPECT_EQ(another->settings_.count(key), 1U) << key << " has a second constant";
    EXPECT_EQ(layer->settings_.count(setting->GetName()), 0U) << key << " is no address";
  }
}

// Constants apart would lie as a compiler pleases, and the passes' order with them.
TEST_F(LayerTest, HasAllItsNameConstantsInOneTable) {
  const auto layer = NewLayer();
  const char* key_of_row = layer->settings_.begin()->first;
  const std::ptrdiff_t size_of_row = std::next(layer->settings_.begin())->first - key_of_row;
  for (const auto& [key, setting] : layer->settings_) {
    EXPECT_EQ(key, key_of_row) << key;
    key_of_row += size_of_row;
  }
}

TEST_F(LayerTest, JoinsTheDefaultsOfAFileThatCouldNotBeRead) {
  tree.MakeMissing("ipv4/tcp_mem");
  tree.MakeMissing("ipv4/ip_local_port_range");
  const auto layer = NewLayer();
  EXPECT_EQ(layer->Find("tcp_mem_low").GetWriteValue(), "49152 65536 98304");
  EXPECT_EQ(layer->Find("tcp_port_min").GetWriteValue(), "4096 4096");
}

}  // namespace
