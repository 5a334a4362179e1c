// The descriptors 0 to 2 while a layer writes and standard output is closed.

#include "tests/faults/low_descriptors_fixture.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <new>

namespace {

// Leaves the process so many free descriptors above 2, for as long as it lives. One of 0 to 2 has
// to be free.
class FewDescriptors {
 public:
  explicit FewDescriptors(rlim_t others) {
    const int lowest = open("/", O_PATH | O_CLOEXEC);
    const int next = fcntl(lowest, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(lowest);
    close(next);
    getrlimit(RLIMIT_NOFILE, &limit_);
    const rlimit few = {static_cast<rlim_t>(next) + others, limit_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
  }
  ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &limit_); }
  FewDescriptors(const FewDescriptors&) = delete;
  FewDescriptors& operator=(const FewDescriptors&) = delete;

 private:
  rlimit limit_ = {};
};

TEST_F(LowDescriptorsTest, AreNeverThoseOfATunable) {
  std::vector<std::string> targets;
  const auto layer = LayerThatActs([&] { targets = {Target(0), Target(1), Target(2)}; });
  {
    const BrokenOutput broken(kAllClosed);
    layer->WriteConfig(&request);
  }
  EXPECT_EQ(targets, (std::vector<std::string>{"/", "/", "/"}));
  EXPECT_EQ(tree.Read("ipv4/tcp_acting"), "1");
}

TEST_F(LowDescriptorsTest, TakeNoMoreWritingThanClosedOnes) {
  ssize_t written = 0;
  const auto layer = LayerThatActs([&] { written = write(STDOUT_FILENO, "lost", 4); });
  {
    const BrokenOutput broken(kOutputClosed);
    layer->WriteConfig(&request);
  }
  EXPECT_EQ(written, -1);
}

// Nothing is opened for them: it is the tunable's own file that takes the free one.
TEST_F(LowDescriptorsTest, AreLeftAloneWhileOutputWorks) {
  const OutputFault only_input_closed = {OutputFault::kClosed, {0}, _IOFBF, ""};
  std::string target;
  const auto layer = LayerThatActs([&] { target = Target(STDIN_FILENO); });
  {
    const BrokenOutput broken(only_input_closed);
    layer->WriteConfig(&request);
  }
  EXPECT_EQ(target, TunableTree::Path("ipv4/tcp_acting"));
}

TEST_F(LowDescriptorsTest, AreClosedAgainAfterAPassARollbackAndAnException) {
  const auto layer = NewLayer();
  const auto throwing = LayerThatActs([] { throw std::bad_alloc(); });
  std::vector<std::vector<bool>> open;
  bool thrown = false;
  {
    const BrokenOutput broken(kAllClosed);
    layer->WriteConfig(&request);
    open.push_back(WhichAreOpen());
    tree.MakeFolder("ipv4/tcp_sack");
    layer->WriteConfig(&request);
    open.push_back(WhichAreOpen());
    try {
      throwing->WriteConfig(&request);
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
    open.push_back(WhichAreOpen());
  }
  EXPECT_TRUE(thrown);
  EXPECT_EQ(open, std::vector<std::vector<bool>>(3, {false, false, false}));
}

// Their lowest free number may be that of a tunable then, but never that of standard output.
TEST_F(LowDescriptorsTest, AreGivenBackOneByOneToAHostThatHasNoOtherLeft) {
  using Targets = std::vector<std::string>;
  const std::string tunable = TunableTree::Path("ipv4/tcp_acting");
  const std::string open = Target(STDERR_FILENO);
  const struct {
    std::vector<int> closed;
    rlim_t others;
    Targets expected;
  } cases[] = {
      {{1}, 1, {Target(0), "/", open}},     {{0, 1}, 1, {"/", "/", open}},
      {{0, 1}, 0, {tunable, "/", open}},    {{1, 2}, 0, {Target(0), "/", tunable}},
      {{0, 1, 2}, 0, {tunable, "/", "/"}},  {{0, 1, 2}, 1, {"/", "/", "/"}},
      {{1}, 0, {Target(0), tunable, open}},
  };
  Targets targets;
  const auto layer = LayerThatActs([&] { targets = {Target(0), Target(1), Target(2)}; });
  layer->WriteConfig(&request);  // a sanitizer takes a descriptor for each class it meets first
  for (const auto& c : cases) {
    tree.Write("ipv4/tcp_acting", "before");
    bool result = false;
    std::vector<bool> open_afterwards;
    {
      const BrokenOutput broken({OutputFault::kClosed, c.closed, _IOFBF, ""});
      const FewDescriptors few(c.others);
      result = layer->WriteConfig(&request);
      open_afterwards = WhichAreOpen();
    }
    EXPECT_TRUE(result);
    EXPECT_EQ(targets, c.expected);
    EXPECT_EQ(tree.Read("ipv4/tcp_acting"), "1");
    for (const int closed : c.closed) {
      EXPECT_FALSE(open_afterwards.at(static_cast<std::size_t>(closed)));
    }
  }
}

TEST_F(LowDescriptorsTest, OfATunableTakeNoneOfTheLinesWhereThereIsNoOther) {
  const auto layer = NewLayer();
  layer->WriteConfig(&request);
  for (const int buffering : {_IOFBF, _IOLBF, _IONBF}) {
    GivenKernelValues();
    bool result = false;
    {
      const CapturedStream stream_of_the_host;
      const BrokenOutput broken({OutputFault::kClosed, {1}, buffering, ""});
      const FewDescriptors few(0);
      result = layer->WriteConfig(&request);
    }
    EXPECT_TRUE(result);
    ExpectFiles(StartValues());
  }
}

TEST_F(LowDescriptorsTest, AreThoseOfNoTunableWhenTheStreamWritesElsewhere) {
  const auto layer = NewLayer();
  std::string lines;
  {
    const CapturedStream stream_of_the_host;
    const BrokenOutput broken({OutputFault::kClosed, {1}, _IONBF, ""});
    layer->WriteConfig(&request);
    lines = stream_of_the_host.text();
  }
  EXPECT_EQ(lines, "\nwriting config...\nconfig done\n");
  ExpectFiles(StartValues());
}

// The host's own mistake, or a device that was full for a moment.
TEST_F(LowDescriptorsTest, LetTheValuesBeToldThoughTheStreamHasFailed) {
  const auto layer = NewLayer();
  std::cout.setstate(std::ios::badbit);
  EXPECT_TRUE(layer->WriteConfig(&request));
  std::cout.clear();
  const std::string lines = WriteLines(StartValues());
  const std::size_t first = lines.find("rmem_max = ");
  EXPECT_EQ(output.Take(), lines.substr(first, lines.find("config done") - first));
  ExpectFiles(StartValues());
}

}  // namespace
