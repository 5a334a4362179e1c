// A layer's construction and destruction.

#include <cstddef>
#include <map>
#include <new>
#include <utility>

#include "settings/CTCPSettingContainer.h"
#include "tests/layer/fixture.h"
#include "tests/support/allocations.h"

namespace {

using recording_host::Calls;

// The size of one entry of the settings map in memory.
constexpr std::size_t kMapNode = sizeof(std::_Rb_tree_node<std::pair<const char* const, void*>>);

std::size_t LiveSettings() {
  return Allocations::Live(sizeof(CTCPSetting)).size() +
         Allocations::Live(sizeof(CTCPSettingContainer)).size();
}

TEST_F(LayerTest, InternsItsRootNameFirstAndThenTheCatalogueInItsOrder) {
  const OpenLayer layer;
  std::vector<std::string> expected = {"kaeCPLayer()", "kaml_intern tcp-settings"};
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    expected.push_back(std::string("kaml_intern ") + setting.name);
  }
  EXPECT_EQ(Calls(), expected);
  EXPECT_EQ(layer.root_element_name_, recording_host::Intern("tcp-settings"));
}

TEST_F(LayerTest, TakesTheSnapshotAndWritesNothingToTheKernelAtConstruction) {
  tree.Write("ipv4/tcp_sack", "7 8\n");
  tree.Write("ipv4/tcp_ecn", "9\n");
  const OpenLayer layer;
  Values values = KernelValues();
  values["tcp_sack"] = "7";
  values["tcp_ecn"] = "9";
  EXPECT_EQ(output.Take(), SnapshotLines(values) + kToPreviousLines);
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "7 8\n");
  EXPECT_EQ(tree.Read("ipv4/tcp_ecn"), "9\n");
}

TEST_F(LayerTest, DeletesEverySettingExactlyOnceAndWritesAndPrintsNothing) {
  const Allocations watch;
  auto* layer = new OpenLayer;
  EXPECT_EQ(LiveSettings(), 57U);
  output.Take();
  tree.Write("ipv4/tcp_sack", "untouched");
  delete layer;
  EXPECT_EQ(LiveSettings(), 0U);
  EXPECT_EQ(Allocations::Live(kMapNode).size(), 0U);
  EXPECT_EQ(output.Take(), "");
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "untouched");
  EXPECT_EQ(Calls().back(), "~kaeCPLayer");
}

// Tells the host of its own end, so that its place in the order is seen.
struct TellingSetting : CTCPSetting {
  explicit TellingSetting(const char* name) : CTCPSetting(name, "0", "file", nullptr, nullptr) {}
  ~TellingSetting() override { Calls().push_back(std::string("~") + GetName()); }
};

TEST_F(LayerTest, DestroysSettingsThroughTheirVirtualDestructorInMapOrderBeforeItsBase) {
  auto layer = NewLayer();
  layer->Empty();
  const char keys[3] = {};
  layer->settings_[&keys[2]] = new TellingSetting("third");
  layer->settings_[&keys[0]] = new TellingSetting("first");
  layer->settings_[&keys[1]] = new TellingSetting("second");
  Calls().clear();
  layer.reset();
  EXPECT_THAT(Calls(), testing::ElementsAre("~first", "~second", "~third", "~kaeCPLayer"));
}

TEST_F(LayerTest, PassesOverANullEntryWhenItIsDestroyed) {
  auto layer = NewLayer();
  layer->Empty();
  const char keys[2] = {};
  layer->settings_[&keys[0]] = nullptr;
  layer->settings_[&keys[1]] = new TellingSetting("second");
  Calls().clear();
  layer.reset();
  EXPECT_THAT(Calls(), testing::ElementsAre("~second", "~kaeCPLayer"));
}

// The settings stored so far stay behind when a constructor fails: that is the order of things
// here, and the tests put them away themselves.
void PutAwayWhatIsLeft() {
  for (const std::size_t size : {sizeof(CTCPSetting), sizeof(CTCPSettingContainer)}) {
    for (const Allocations::Block& block : Allocations::Live(size)) {
      delete static_cast<CTCPSetting*>(block.address);
    }
  }
}

TEST_F(LayerTest, KeepsTheSettingsThatAFailedConstructionHadStored) {
  struct Case {
    int failing_intern;
    std::size_t settings_left;
  };
  Calls().reserve(100);  // where a word has 32 bits, a string is as large as a map's node
  for (const auto& [failing_intern, settings_left] :
       {Case{1, 0}, Case{2, 0}, Case{3, 1}, Case{4, 2}, Case{24, 22}, Case{25, 23}, Case{26, 24},
        Case{58, 56}}) {
    const Allocations watch;
    Calls().clear();
    recording_host::FailIntern(failing_intern);
    EXPECT_THROW(new OpenLayer, std::bad_alloc) << failing_intern;
    EXPECT_EQ(Calls().back(), "~kaeCPLayer") << failing_intern;
    EXPECT_EQ(LiveSettings(), settings_left) << failing_intern;
    EXPECT_EQ(Allocations::OfSize(kMapNode).size(), settings_left)
        << failing_intern << ": each is stored before the next is made";
    EXPECT_EQ(Allocations::Live(kMapNode).size(), 0U) << failing_intern;
    EXPECT_EQ(Allocations::Live(sizeof(OpenLayer)).size(), 0U) << failing_intern;
    PutAwayWhatIsLeft();
  }
  EXPECT_EQ(output.Take(), "");
}

// From the interning of the root name to the last file of the snapshot.
TEST_F(LayerTest, LetsExhaustedMemoryPassWhereverTheConstructionMeetsIt) {
  Calls().reserve(100);
  bool met = true;
  for (std::size_t n = 2; met; ++n) {  // the first allocation is that of the layer itself
    const Allocations watch;
    Calls().clear();
    Allocations::Fail(n);
    bool passed = false;
    try {
      const std::unique_ptr<OpenLayer> layer(new OpenLayer);
    } catch (const std::bad_alloc&) {
      passed = true;
    }
    met = !Allocations::IsToFail();
    Allocations::Fail(0);
    ASSERT_EQ(passed, met) << "allocation " << n;
    EXPECT_EQ(Calls().back(), "~kaeCPLayer") << "allocation " << n;
    EXPECT_EQ(Allocations::Live(kMapNode).size(), 0U) << "allocation " << n;
    if (met) {
      EXPECT_GE(LiveSettings(), Allocations::OfSize(kMapNode).size()) << "allocation " << n;
    }
    PutAwayWhatIsLeft();
  }
}

TEST_F(LayerTest, HasItsMapBeforeItsRootName) {
  const auto layer = NewLayer();
  EXPECT_LT(static_cast<const void*>(&layer->settings_),
            static_cast<const void*>(&layer->root_element_name_));
  EXPECT_EQ(sizeof(kaTCPLayer),
            5 * sizeof(void*) + sizeof(std::map<const char*, CTCPSetting*>) + sizeof(const char*));
}

}  // namespace
