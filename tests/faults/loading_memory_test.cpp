// Exhausted memory while the plug-in is loaded.

#include <dlfcn.h>

#include "tests/faults/memory_fixture.h"

namespace {

using recording_host::Calls;

class LoadingMemoryTest : public testing::TestWithParam<memory::Mode> {
 protected:
  // Loads the library and looks its symbol up, with the `n`-th allocation failing.
  memory::Attempt TryLoad(std::size_t n);

  void ExpectToBeLoadedAndUnload();

  NewHost host;
  void* handle = nullptr;
  void* symbol = nullptr;
};

memory::Attempt LoadingMemoryTest::TryLoad(std::size_t n) {
  handle = nullptr;
  symbol = nullptr;
  return memory::Try(
      [this] {
        handle = dlopen(LoadedLibrary::Path(), RTLD_NOW | RTLD_LOCAL);
        symbol = handle != nullptr ? dlsym(handle, "this_kae_plugin") : nullptr;
      },
      n, GetParam());
}

void LoadingMemoryTest::ExpectToBeLoadedAndUnload() {
  ASSERT_NE(symbol, nullptr);
  EXPECT_EQ((*static_cast<kaePlugin**>(symbol))->GetName(), "TCP");
  EXPECT_THAT(Calls(), testing::IsEmpty());
  dlclose(handle);
  EXPECT_THAT(Calls(), testing::ElementsAre("~kaePlugin"));
  Calls().clear();
}

// What the loader keeps for good it has from the first time on.
TEST_P(LoadingMemoryTest, RefusesThePluginWithAReasonAndLeavesNothingBehind) {
  TryLoad(0);
  ExpectToBeLoadedAndUnload();
  memory::ForgetBlocks();
  memory::Attempt attempt;
  std::size_t refusals = 0;
  for (std::size_t n = 1; n == 1 || attempt.failed > 0; ++n) {
    SCOPED_TRACE(n);
    attempt = TryLoad(n);
    EXPECT_FALSE(attempt.threw);
    if (handle == nullptr) {
      ++refusals;
      EXPECT_NE(dlerror(), nullptr);
      EXPECT_THAT(Calls(), testing::IsEmpty());
    } else {
      ExpectToBeLoadedAndUnload();
    }
    EXPECT_FALSE(LoadedLibrary::IsLoaded());
    TryLoad(0);
    ExpectToBeLoadedAndUnload();
    EXPECT_THAT(memory::LiveBlocks(), testing::IsEmpty());
    ASSERT_FALSE(HasFailure());
  }
  EXPECT_GT(refusals, 0U);
}

INSTANTIATE_TEST_SUITE_P(Mode, LoadingMemoryTest, testing::Values(memory::kOnce, memory::kForEver),
                         NameOfMode);

}  // namespace
