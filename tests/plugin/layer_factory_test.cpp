// The layers that the plug-in makes, as their host has them.

#include <gmock/gmock.h>

#include <new>

#include "tests/plugin/loaded_plugin.h"

namespace {

using recording_host::Calls;
using recording_host::Settings;
using recording_host::Value;
using testing::ElementsAre;

class LayerFactory : public PluginLayerTest {
 protected:
  // Delivers these contents by way of the layer's callback.
  bool Configure(const Layer& layer, const kaml_content* contents) {
    return dynamic_cast<kaeCPLayer::ConfigureCB&>(*layer).do_Configure(&request, contents);
  }

  recording_host::Request request;
};

TEST_F(LayerFactory, MakesLayersWithoutInitAndAfterCleanup) {
  NewLayer();
  As<kaePlugin>().CleanupPlugin();
  EXPECT_NE(NewLayer(), nullptr);
}

TEST_F(LayerFactory, MakesLayersWhoseCallbacksAreCastAcross) {
  const Layer layer(As<kaeCPPlugin>().GetNewLayer());
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

TEST_F(LayerFactory, GivesEachLayerACatalogueAndASnapshotOfItsOwn) {
  tree.Write("ipv4/tcp_sack", "1\n");
  Layer early = NewLayer();
  tree.Write("ipv4/tcp_sack", "2\n");
  Layer late = NewLayer();
  EXPECT_NE(early, late);
  EXPECT_TRUE(Configure(early, Settings({Value("tcp_sack", "0")})));
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "0");
  EXPECT_TRUE(Configure(late, Settings()));
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "2");
  EXPECT_TRUE(Configure(early, Settings()));
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "0");
  early.reset();
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "1");
  late.reset();
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "2");
}

TEST_F(LayerFactory, LetsTheExceptionOfAFailedSettingPassAndThenMakesAWorkingLayer) {
  tree.Write("ipv4/tcp_sack", "1\n");
  recording_host::FailIntern(2);
  EXPECT_THROW(NewLayer(), std::bad_alloc);
  EXPECT_THAT(Calls(), ElementsAre("kaeCPLayer()", "kaml_intern tcp-settings",
                                   "kaml_intern rmem_max", "~kaeCPLayer"));
  EXPECT_EQ(output.Take(), "");
  const Layer layer = NewLayer();
  EXPECT_TRUE(Configure(layer, Settings({Value("tcp_sack", "0")})));
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "0");
}

}  // namespace
