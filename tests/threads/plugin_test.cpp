// The plug-in object, used from many threads at once.

#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "tests/endurance/hosted.h"
#include "tests/support/output.h"
#include "tests/threads/together.h"

namespace {

constexpr int kThreads = 8;

// The plug-in through another of its bases, as a host gets there.
template <class Base>
Base& As() {
  return dynamic_cast<Base&>(*this_kae_plugin);
}

template <class Base>
void ExpectItsNameAndVersion() {
  EXPECT_EQ(As<Base>().GetName(), "TCP");
  EXPECT_EQ(As<Base>().GetVersion(), "001.000");
}

void ReleaseLayer(kaeCPLayer* layer) { dynamic_cast<kaeCPLayer::ReleaseCB&>(*layer).do_Release(); }

TEST(PluginOnManyThreads, MakesAnotherLayerForEachCallThroughBothItsFactories) {
  const TunableTree tree;
  const CapturedOutput output;
  std::vector<std::vector<kaeCPLayer*>> layers(kThreads);
  Together(kThreads, [&](int number) {
    for (int round = 0; round < 5; ++round) {
      layers[static_cast<std::size_t>(number)].push_back(As<kaeCPLayerFactory>().GetNewLayer());
      layers[static_cast<std::size_t>(number)].push_back(As<kaeCPPlugin>().GetNewLayer());
    }
  });
  std::set<kaeCPLayer*> all;
  for (const auto& made_by_one : layers) {
    all.insert(made_by_one.begin(), made_by_one.end());
  }
  EXPECT_EQ(all.count(nullptr), 0U);
  EXPECT_EQ(all.size(), kThreads * 10U);
  Together(kThreads, [&](int number) {
    for (kaeCPLayer* layer : layers[static_cast<std::size_t>(number)]) {
      ReleaseLayer(layer);
    }
  });
}

TEST(PluginOnManyThreads, AnswersEverythingWhileOthersMakeLayers) {
  TunableTree tree;
  const Values snapshot = DistinctValues("3");
  Fill(tree, FilesOf(snapshot));
  const CapturedOutput output;
  Together(kThreads, [&](int number) {
    for (int round = 0; round < 20; ++round) {
      if (number % 2 == 0) {
        EXPECT_NE(HostedLayer().get(), nullptr);
      }
      ExpectItsNameAndVersion<kaeVersionInfo>();
      ExpectItsNameAndVersion<kaePlugin>();
      ExpectItsNameAndVersion<kaeCPLayerFactory>();
      ExpectItsNameAndVersion<kaeCPPlugin>();
      EXPECT_TRUE(As<kaePlugin>().InitPlugin());
      As<kaePlugin>().CleanupPlugin();
    }
  });
}

}  // namespace
