// What the plug-in answers as a plug-in, and how its bases hang together.

#include <gmock/gmock.h>

#include <typeinfo>

#include "tests/plugin/loaded_plugin.h"

namespace {

using testing::IsEmpty;

using PluginObject = PluginTest;

TEST_F(PluginObject, TellsItsNameThroughEveryBaseThatHasOne) {
  EXPECT_EQ(As<kaeVersionInfo>().GetName(), "TCP");
  EXPECT_EQ(As<kaePlugin>().GetName(), "TCP");
  EXPECT_EQ(As<kaeCPLayerFactory>().GetName(), "TCP");
  EXPECT_EQ(As<kaeCPPlugin>().GetName(), "TCP");
}

TEST_F(PluginObject, TellsItsVersionThroughEveryBaseThatHasOne) {
  EXPECT_EQ(As<kaeVersionInfo>().GetVersion(), "001.000");
  EXPECT_EQ(As<kaePlugin>().GetVersion(), "001.000");
  EXPECT_EQ(As<kaeCPLayerFactory>().GetVersion(), "001.000");
  EXPECT_EQ(As<kaeCPPlugin>().GetVersion(), "001.000");
}

TEST_F(PluginObject, IsReadyOnEveryCallAlsoAfterCleanup) {
  for (int round = 0; round < 3; ++round) {
    EXPECT_TRUE(As<kaePlugin>().InitPlugin());
    EXPECT_TRUE(As<kaePlugin>().InitPlugin());
    As<kaePlugin>().CleanupPlugin();
    EXPECT_TRUE(As<kaeCPPlugin>().InitPlugin());
    As<kaeCPPlugin>().CleanupPlugin();
    As<kaeCPPlugin>().CleanupPlugin();
  }
}

TEST_F(PluginObject, KeepsItsNameAndVersionAfterCleanup) {
  As<kaePlugin>().CleanupPlugin();
  EXPECT_EQ(As<kaePlugin>().GetName(), "TCP");
  EXPECT_EQ(As<kaePlugin>().GetVersion(), "001.000");
}

TEST_F(PluginObject, IsFoundAgainAfterCleanup) {
  As<kaePlugin>().CleanupPlugin();
  const LoadedLibrary again;
  EXPECT_EQ(again.plugin(), library.plugin());
}

TEST_F(PluginObject, SaysNothingAndAsksTheHostForNothing) {
  As<kaePlugin>().GetName();
  As<kaePlugin>().GetVersion();
  As<kaePlugin>().InitPlugin();
  As<kaePlugin>().CleanupPlugin();
  library.Unload();
  EXPECT_EQ(output.Take(), "");
  EXPECT_THAT(recording_host::Calls(), testing::ElementsAre("~kaePlugin"));
}

TEST_F(PluginObject, IsThereAsSoonAsTheLibraryIsLoaded) {
  EXPECT_NE(library.plugin(), nullptr);
  EXPECT_THAT(recording_host::Calls(), IsEmpty());
  EXPECT_EQ(output.Take(), "");
}

TEST_F(PluginObject, StartsWithTheBaseThatTheExportedPointerNames) {
  EXPECT_EQ(dynamic_cast<void*>(library.plugin()), library.plugin());
}

TEST_F(PluginObject, HoldsOneVersionInfoForAllItsBases) {
  const kaeVersionInfo* through_plugin = &As<kaePlugin>();
  const kaeVersionInfo* through_factory = &As<kaeCPLayerFactory>();
  EXPECT_EQ(through_plugin, through_factory);
  EXPECT_EQ(through_plugin, &As<kaeVersionInfo>());
}

// Checks that every base of the whole plug-in is reached from `base`, each at its one address.
template <class Base>
void ExpectAllBasesWithinReach(Base& base, kaeCPPlugin& whole) {
  EXPECT_EQ(dynamic_cast<kaeVersionInfo*>(&base), static_cast<kaeVersionInfo*>(&whole));
  EXPECT_EQ(dynamic_cast<kaePlugin*>(&base), static_cast<kaePlugin*>(&whole));
  EXPECT_EQ(dynamic_cast<kaeCPLayerFactory*>(&base), static_cast<kaeCPLayerFactory*>(&whole));
  EXPECT_EQ(dynamic_cast<kaeCPPlugin*>(&base), &whole);
}

TEST_F(PluginObject, IsCastAcrossBetweenAllItsBases) {
  auto& whole = As<kaeCPPlugin>();
  ExpectAllBasesWithinReach(As<kaeVersionInfo>(), whole);
  ExpectAllBasesWithinReach(As<kaePlugin>(), whole);
  ExpectAllBasesWithinReach(As<kaeCPLayerFactory>(), whole);
  ExpectAllBasesWithinReach(whole, whole);
}

TEST_F(PluginObject, IsOfTheClassThatItsNamePromises) {
  const kaePlugin& plugin = *library.plugin();
  EXPECT_STREQ(typeid(plugin).name(), "11kaTCPPlugin");
}

}  // namespace
