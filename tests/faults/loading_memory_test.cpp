// Exhausted memory while the plug-in is loaded.

#include <dlfcn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/faults/memory_fixture.h"

namespace {

using recording_host::Calls;

// What a child process tells of its loading.
struct Told {
  memory::Attempt attempt;
  bool refused;
};

class LoadingMemoryTest : public testing::TestWithParam<memory::Mode> {
 protected:
  // Loads the library and looks its symbol up, with the `n`-th allocation failing.
  memory::Attempt TryLoad(std::size_t n);

  // Checks that this loads the plug-in or refuses it with a reason, and works the next time.
  void LoadDisturbed(std::size_t n, Told& told);

  // The same in a process of its own, in which nothing has been loaded before.
  Told LoadDisturbedInAChild(std::size_t n);

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

void LoadingMemoryTest::LoadDisturbed(std::size_t n, Told& told) {
  told.attempt = TryLoad(n);
  told.refused = handle == nullptr;
  EXPECT_FALSE(told.attempt.threw);
  if (told.refused) {
    EXPECT_NE(dlerror(), nullptr);
    EXPECT_THAT(Calls(), testing::IsEmpty());
  } else {
    ExpectToBeLoadedAndUnload();
  }
  EXPECT_FALSE(LoadedLibrary::IsLoaded());
  TryLoad(0);
  ExpectToBeLoadedAndUnload();
}

Told LoadingMemoryTest::LoadDisturbedInAChild(std::size_t n) {
  void* shared =
      mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  auto* told = new (shared) Told();
  const pid_t child = fork();
  if (child == 0) {
    LoadDisturbed(n, *told);
    _exit(HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status)) << "the process died of signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), EXIT_SUCCESS);
  const Told answer = *told;
  munmap(shared, sizeof(Told));
  return answer;
}

TEST_P(LoadingMemoryTest, RefusesThePluginWithAReasonAndLoadsItAfterwards) {
  AllocationCount count("loading", GetParam());
  std::size_t refusals = 0;
  for (std::size_t n = 1;; ++n) {
    SCOPED_TRACE(n);
    const Told told = LoadDisturbedInAChild(n);
    ASSERT_FALSE(HasFailure());
    if (told.attempt.failed == 0) {
      EXPECT_FALSE(told.refused);
      break;
    }
    count.Add(told.attempt);
    refusals += told.refused ? 1 : 0;
  }
  EXPECT_GT(refusals, 0U);
}

// What the loader keeps for good it has from the first time on.
TEST_P(LoadingMemoryTest, LeavesNothingBehind) {
  Told told;
  LoadDisturbed(0, told);
  memory::ForgetBlocks();
  for (std::size_t n = 1; n == 1 || told.attempt.failed > 0; ++n) {
    LoadDisturbed(n, told);
    EXPECT_THAT(memory::LiveBlocks(), testing::IsEmpty()) << "allocation " << n;
    ASSERT_FALSE(HasFailure());
  }
}

INSTANTIATE_TEST_SUITE_P(Mode, LoadingMemoryTest, testing::Values(memory::kOnce, memory::kForEver),
                         NameOfMode);

}  // namespace
