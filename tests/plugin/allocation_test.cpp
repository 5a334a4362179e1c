// The storage of layers and of the plug-in, from its allocation until it is free.

#include <gmock/gmock.h>

#include <cstring>
#include <new>

#include "tests/plugin/first_allocation.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/slots.h"

namespace {

using recording_host::Calls;
using testing::ElementsAre;
using testing::IsEmpty;

using PluginStorage = PluginTest;
using LayerStorage = PluginLayerTest;

TEST_F(LayerStorage, ComesFromTheOrdinaryOperatorAndGoesWithTheLayer) {
  const FirstAllocation& storage = WatchFirstAllocation();
  Layer layer = NewLayer();
  EXPECT_EQ(storage.address, layer.get());
  EXPECT_FALSE(storage.freed);
  layer.reset();
  EXPECT_TRUE(storage.freed);
}

TEST_F(LayerStorage, IsFreedWhenTheLayerFails) {
  const FirstAllocation& storage = WatchFirstAllocation();
  NewLayer();
  const std::size_t size_of_a_layer = storage.size;
  WatchFirstAllocation();
  recording_host::FailIntern(1);
  EXPECT_THROW(NewLayer(), std::bad_alloc);
  EXPECT_EQ(storage.size, size_of_a_layer);
  EXPECT_TRUE(storage.freed);
}

TEST_F(LayerStorage, IsRefusedByAnExceptionThatPasses) {
  RefuseFirstAllocation();
  EXPECT_THROW(NewLayer(), std::bad_alloc);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_NE(NewLayer(), nullptr);
}

// By position: the first slot destroys a layer, the second frees it as well.
TEST_F(LayerStorage, IsFreedByTheDeletingDestructorOnly) {
  const FirstAllocation& storage = WatchFirstAllocation();
  void* destroyed = NewLayer().release();
  Calls().clear();
  CallSlot<void>(destroyed, 0);
  EXPECT_THAT(Calls(), ElementsAre("~kaeCPLayer"));
  EXPECT_FALSE(storage.freed);
  operator delete(destroyed);

  WatchFirstAllocation();
  void* freed = NewLayer().release();
  Calls().clear();
  CallSlot<void>(freed, 1);
  EXPECT_THAT(Calls(), ElementsAre("~kaeCPLayer"));
  EXPECT_TRUE(storage.freed);
}

// By position: slots three and four. The plug-in's own object is the loader's to destroy; a copy of
// its bytes is as good.
TEST_F(PluginStorage, IsFreedByTheDeletingDestructorOnly) {
  const FirstAllocation& storage = WatchFirstAllocation();
  void* copy = operator new(sizeof(kaeCPPlugin));
  std::memcpy(copy, object(), sizeof(kaeCPPlugin));
  CallSlot<void>(copy, 2);
  EXPECT_THAT(Calls(), ElementsAre("~kaePlugin"));
  EXPECT_FALSE(storage.freed);

  std::memcpy(copy, object(), sizeof(kaeCPPlugin));
  CallSlot<void>(copy, 3);
  EXPECT_THAT(Calls(), ElementsAre("~kaePlugin", "~kaePlugin"));
  EXPECT_TRUE(storage.freed);
}

}  // namespace
