// A request's values reach the kernel's own files.

#include "tests/kernel/fixture.h"
#include "tests/kernel/write_watch.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// A value that every kernel takes for the setting, and that this one does not hold now: for sizes a
// larger one, since some kernels refuse buffers below a page, for all others a smaller one.
std::string OtherValue(const ExpectedSetting& setting) {
  constexpr int kPage = 4096;
  const int value = std::stoi(Words(KernelText(setting.file)).at(WordIndex(setting)));
  return std::to_string(value == 0 || value >= kPage ? value + 1 : value - 1);
}

std::string WithWord(const std::string& text, std::size_t index, const std::string& word) {
  std::vector<std::string> words = Words(text);
  words.at(index) = word;
  return Join(words);
}

std::vector<std::string> PresentFiles() {
  std::vector<std::string> files;
  for (const ExpectedSetting& setting : PresentSettings()) {
    files.emplace_back(setting.file);
  }
  return files;
}

TEST_F(KernelTest, ARequestWritesPlainSettingsAndWholeContainersIntoTheRealFiles) {
  const Named named = {
      {"tcp_keepalive_time", "600"}, {"tcp_wmem_min", "8192"},  {"tcp_wmem_default", "32768"},
      {"tcp_wmem_max", "262144"},    {"tcp_ipfrag_time", "20"}, {"tcp_port_min", "20000"},
      {"tcp_port_max", "29999"},
  };
  auto layer = NewLayer();
  EXPECT_TRUE(Configure(*layer, named));
  EXPECT_EQ(KernelText("ipv4/tcp_keepalive_time"), "600");
  EXPECT_EQ(KernelText("ipv4/tcp_wmem"), "8192 32768 262144");
  EXPECT_EQ(KernelText("ipv4/ipfrag_time"), "20");
  EXPECT_EQ(KernelText("ipv4/ip_local_port_range"), "20000 29999");
}

TEST_F(KernelTest, EachElementChangesItsOwnWordOfItsOwnFileAndNothingElse) {
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (!KernelHas(setting.file)) {
      continue;
    }
    SCOPED_TRACE(setting.name);
    const std::string value = OtherValue(setting);
    auto layer = NewLayer();
    ASSERT_TRUE(Configure(*layer));
    const KernelState before = ReadKernel();
    ASSERT_TRUE(Configure(*layer, setting.name, value));
    const std::string text = WithWord(before.at(setting.file), WordIndex(setting), value);
    EXPECT_THAT(Changes(before, ReadKernel()), ElementsAre(Pair(setting.file, text)));
  }
}

TEST_F(KernelTest, AReleaseRestoresEveryTunableAfterAllOfThemWereChanged) {
  Named named;
  KernelState changed;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (KernelHas(setting.file)) {
      named.emplace_back(setting.name, OtherValue(setting));
      changed[setting.file] = Join(Words(changed[setting.file] + " " + named.back().second));
    }
  }
  auto layer = NewLayer();
  ASSERT_TRUE(Configure(*layer, named));
  EXPECT_EQ(Changes(found, ReadKernel()), changed);
  layer->Release();
  EXPECT_THAT(Changes(found, ReadKernel()), IsEmpty());
}

TEST_F(KernelTest, ConstructionOpensNoFileForWritingAndLeavesTheKernelAsItIs) {
  WriteWatch watch;
  auto layer = NewLayer();
  EXPECT_THAT(watch.Take(), IsEmpty());
  EXPECT_THAT(Changes(found, ReadKernel()), IsEmpty());
}

TEST_F(KernelTest, ARequestOpensEveryFileForWritingOnceInCatalogueOrder) {
  auto layer = NewLayer();
  WriteWatch watch;
  ASSERT_TRUE(Configure(*layer, "tcp_sack", "0"));
  EXPECT_EQ(watch.Take(), PresentFiles());
}

TEST_F(KernelTest, AReleaseOpensEveryFileForWritingOnceInCatalogueOrder) {
  auto layer = NewLayer();
  WriteWatch watch;
  layer->Release();
  EXPECT_EQ(watch.Take(), PresentFiles());
}

}  // namespace
