// A thread with little stack, as hosts on devices have them.

#include <limits.h>
#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <functional>

#include "tests/faults/memory_fixture.h"

namespace {

// What docs/integrating.md says that a call needs. On some processors a thread cannot have so
// little.
const std::size_t kStack =
    std::max(std::size_t{64} << 10, static_cast<std::size_t>(PTHREAD_STACK_MIN));

void OnASmallStack(std::function<void()> work) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStack), 0);
  pthread_t thread = {};
  const auto run = [](void* function) -> void* {
    (*static_cast<std::function<void()>*>(function))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

using SmallStackTest = MemoryTest;

// A rollback takes most: its pass lies on top of the one that failed.
TEST_F(SmallStackTest, IsEnoughForALayersLifeWithARollback) {
  OnASmallStack([&] {
    TryNewLayer();
    tree.MakeFolder("ipv4/tcp_stdurg");
    TryConfigure();
    EXPECT_FALSE(result);
    EXPECT_EQ(request.replies.size(), 1U);
    TryRelease();
  });
}

}  // namespace
