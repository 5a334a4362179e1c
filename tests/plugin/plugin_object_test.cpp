// What the plug-in answers as a plug-in, and how its bases hang together.

#include <gmock/gmock.h>

#include "tests/plugin/loaded_plugin.h"

namespace {

class PluginObject : public PluginTest {
 protected:
  template <class Base>
  void ExpectNameAndVersion() const {
    EXPECT_EQ(As<Base>().GetName(), "TCP");
    EXPECT_EQ(As<Base>().GetVersion(), "001.000");
  }
};

TEST_F(PluginObject, TellsItsNameAndVersionThroughEveryBaseAlsoAfterCleanup) {
  for (int round = 0; round < 2; ++round) {
    ExpectNameAndVersion<kaeVersionInfo>();
    ExpectNameAndVersion<kaePlugin>();
    ExpectNameAndVersion<kaeCPLayerFactory>();
    ExpectNameAndVersion<kaeCPPlugin>();
    As<kaePlugin>().CleanupPlugin();
  }
}

TEST_F(PluginObject, IsReadyOnEveryCallAlsoAfterCleanup) {
  for (int round = 0; round < 3; ++round) {
    EXPECT_TRUE(As<kaePlugin>().InitPlugin());
    EXPECT_TRUE(As<kaeCPPlugin>().InitPlugin());
    As<kaePlugin>().CleanupPlugin();
    As<kaeCPPlugin>().CleanupPlugin();
  }
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

TEST_F(PluginObject, StartsWithTheBaseThatTheExportedPointerNames) {
  EXPECT_EQ(dynamic_cast<void*>(library.plugin()), library.plugin());
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

}  // namespace
