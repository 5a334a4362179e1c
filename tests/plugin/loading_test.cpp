// Loading and unloading, and what becomes of the plug-in object and its layers.

#include <gmock/gmock.h>

#include "tests/plugin/loaded_plugin.h"

namespace {

using recording_host::Calls;
using testing::ElementsAre;

using Loading = PluginLayerTest;

// A layer that outlives its library: nobody can release it any more, for its code is gone. It is
// kept here, where leak checkers find it.
kaeCPLayer* volatile g_outliving_layer;

TEST_F(Loading, EndsWithTheDestructionOfThePluginObjectButOfNoLayer) {
  g_outliving_layer = NewLayer().release();
  tree.Write("ipv4/tcp_sack", "untouched");
  Calls().clear();
  output.Take();
  library.Unload();
  EXPECT_FALSE(LoadedLibrary::IsLoaded());
  EXPECT_THAT(Calls(), ElementsAre("~kaePlugin"));
  EXPECT_EQ(output.Take(), "");
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "untouched");
}

TEST_F(Loading, WorksAgainAfterUnloading) {
  tree.Write("ipv4/tcp_sack", "1\n");
  library.Unload();
  for (int round = 0; round < 3; ++round) {
    LoadedLibrary again;
    EXPECT_EQ(again.plugin()->GetName(), "TCP");
    EXPECT_TRUE(again.plugin()->InitPlugin());
    Layer layer(dynamic_cast<kaeCPLayerFactory&>(*again.plugin()).GetNewLayer());
    tree.Write("ipv4/tcp_sack", "0\n");
    layer.reset();
    EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "1");
    again.plugin()->CleanupPlugin();
    Calls().clear();
    again.Unload();
    EXPECT_FALSE(LoadedLibrary::IsLoaded());
    EXPECT_THAT(Calls(), ElementsAre("~kaePlugin"));
  }
}

}  // namespace
