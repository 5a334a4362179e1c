// The layers that the plug-in makes, as their host has them.

#include <gmock/gmock.h>

#include <fstream>
#include <new>
#include <typeinfo>

#include "tests/plugin/loaded_plugin.h"
#include "tests/support/catalogue.h"
#include "tests/support/slots.h"

namespace {

using recording_host::Calls;
using recording_host::Settings;
using recording_host::Value;
using testing::ElementsAre;

class LayerFactory : public PluginLayerTest {
 protected:
  // Fills every tunable with the defaults, and answers the lines of a layer that finds them.
  std::string GivenDefaultsInEveryTunable();

  // Delivers these contents by way of the layer's callback.
  bool Configure(const Layer& layer, const kaml_content* contents) {
    return dynamic_cast<kaeCPLayer::ConfigureCB&>(*layer).do_Configure(&request, contents);
  }

  recording_host::Request request;
};

std::string LayerFactory::GivenDefaultsInEveryTunable() {
  std::string lines = "\nreading previous config...\n";
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    std::ofstream(TunableTree::Path(setting.file), std::ios::app) << setting.default_value << '\t';
    lines += std::string(setting.name) + " = " + setting.default_value + "\n";
  }
  return lines + "reading config done\n\nsetting to previous values\n";
}

TEST_F(LayerFactory, PrintsNothingButTheLayersOwnLines) {
  const std::string lines = GivenDefaultsInEveryTunable();
  const Layer layer = NewLayer();
  EXPECT_EQ(output.Take(), lines);
}

TEST_F(LayerFactory, MakesLayersThroughBothItsBases) {
  const Layer from_factory(As<kaeCPLayerFactory>().GetNewLayer());
  const Layer from_plugin(As<kaeCPPlugin>().GetNewLayer());
  for (const kaeCPLayer* layer : {from_factory.get(), from_plugin.get()}) {
    EXPECT_STREQ(typeid(*layer).name(), "10kaTCPLayer");
  }
}

TEST_F(LayerFactory, MakesLayersWithoutInitAndAfterCleanup) {
  NewLayer();
  As<kaePlugin>().CleanupPlugin();
  EXPECT_NE(NewLayer(), nullptr);
}

TEST_F(LayerFactory, MakesLayersWhoseCallbacksAreCastAcross) {
  const Layer layer = NewLayer();
  auto* configure = dynamic_cast<kaeCPLayer::ConfigureCB*>(layer.get());
  auto* release = dynamic_cast<kaeCPLayer::ReleaseCB*>(layer.get());
  auto* start = dynamic_cast<kaeCPLayer::StartCB*>(layer.get());
  auto* stop = dynamic_cast<kaeCPLayer::StopCB*>(layer.get());
  ASSERT_TRUE(configure != nullptr && release != nullptr && start != nullptr && stop != nullptr);
  EXPECT_EQ(dynamic_cast<kaeCPLayer::ReleaseCB*>(configure), release);
  EXPECT_EQ(dynamic_cast<kaeCPLayer::StartCB*>(release), start);
  EXPECT_EQ(dynamic_cast<kaeCPLayer::StopCB*>(start), stop);
  EXPECT_EQ(dynamic_cast<kaeCPLayer*>(stop), layer.get());
}

TEST_F(LayerFactory, MakesLayersThatServeTheirCallbacks) {
  tree.Write("ipv4/tcp_sack", "1\n");
  Layer layer = NewLayer();
  dynamic_cast<kaeCPLayer::StartCB&>(*layer).do_Start();
  EXPECT_TRUE(Configure(layer, Settings({Value("tcp_sack", "0")})));
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "0");
  dynamic_cast<kaeCPLayer::StopCB&>(*layer).do_Stop();
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "0");
  layer.reset();
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "1");
  EXPECT_EQ(Calls().back(), "~kaeCPLayer");
}

TEST_F(LayerFactory, MakesLayersThatAreServedByPosition) {
  tree.Write("ipv4/tcp_sack", "1\n");
  void* layer = NewLayer().release();
  Calls().clear();
  output.Take();
  request.answer = false;
  const kaml_content* nothing = nullptr;
  EXPECT_FALSE(CallSlot<bool>(layer, 2, static_cast<kaeRequest*>(&request), nothing));
  EXPECT_THAT(Calls(), ElementsAre("SendSuccess"));
  output.Take();
  CallSlot<void>(layer, 3);
  CallSlot<void>(layer, 4);
  EXPECT_EQ(output.Take(), "");
  EXPECT_THAT(Calls(), ElementsAre("SendSuccess"));
  tree.Write("ipv4/tcp_sack", "0\n");
  CallSlot<void>(layer, 5);
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "1");
  EXPECT_EQ(Calls().back(), "~kaeCPLayer");
}

TEST_F(LayerFactory, GivesEachLayerACatalogueOfItsOwn) {
  tree.Write("ipv4/tcp_sack", "1\n");
  const Layer one = NewLayer();
  const Layer other = NewLayer();
  EXPECT_NE(one, other);
  EXPECT_TRUE(Configure(one, Settings({Value("tcp_sack", "0")})));
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "0");
  EXPECT_TRUE(Configure(other, Settings()));
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "1");
  EXPECT_TRUE(Configure(one, Settings()));
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "0");
}

TEST_F(LayerFactory, GivesEachLayerTheSnapshotOfItsOwnTime) {
  tree.Write("ipv4/tcp_mem", "10 20 30\n");
  Layer early = NewLayer();
  tree.Write("ipv4/tcp_mem", "40 50 60\n");
  Layer late = NewLayer();
  early.reset();
  EXPECT_EQ(tree.Read("ipv4/tcp_mem"), "10 20 30");
  late.reset();
  EXPECT_EQ(tree.Read("ipv4/tcp_mem"), "40 50 60");
}

TEST_F(LayerFactory, LetsTheExceptionOfAFailedLayerPass) {
  recording_host::FailIntern(1);
  EXPECT_THROW(NewLayer(), std::bad_alloc);
  EXPECT_THAT(Calls(), ElementsAre("kaeCPLayer()", "kaml_intern tcp-settings", "~kaeCPLayer"));
  EXPECT_EQ(output.Take(), "");
}

TEST_F(LayerFactory, LetsTheExceptionOfAFailedSettingPass) {
  recording_host::FailIntern(2);
  EXPECT_THROW(NewLayer(), std::bad_alloc);
  EXPECT_THAT(Calls(), ElementsAre("kaeCPLayer()", "kaml_intern tcp-settings",
                                   "kaml_intern rmem_max", "~kaeCPLayer"));
}

TEST_F(LayerFactory, MakesAWorkingLayerAfterAFailedOne) {
  tree.Write("ipv4/tcp_sack", "1\n");
  recording_host::FailIntern(1);
  EXPECT_THROW(NewLayer(), std::bad_alloc);
  const Layer layer = NewLayer();
  EXPECT_TRUE(Configure(layer, Settings({Value("tcp_sack", "0")})));
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "0");
}

}  // namespace
