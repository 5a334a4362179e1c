// The descriptors 0 to 2 while a layer writes and standard output has failed.

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <iostream>
#include <new>

#include "tests/faults/broken_output.h"
#include "tests/layer/fixture.h"

namespace {

const OutputFault kOutputClosed = {OutputFault::kClosed, {1}, _IOFBF, ""};
const OutputFault kAllClosed = {OutputFault::kClosed, {0, 1, 2}, _IOFBF, ""};

bool IsOpen(int descriptor) { return fcntl(descriptor, F_GETFD) != -1; }

std::vector<bool> WhichAreOpen() { return {IsOpen(0), IsOpen(1), IsOpen(2)}; }

// What a descriptor is open on; empty when it is closed.
std::string Target(int descriptor) {
  std::error_code closed;
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), closed);
}

// Does something of its own at the moment when its file is open and its text is asked for.
class ActingSetting : public CTCPSetting {
 public:
  explicit ActingSetting(std::function<void()> act)
      : CTCPSetting("tcp_acting", "1", "tcp_acting", nullptr, nullptr), act_(std::move(act)) {}

  std::string GetWriteValue() const override {
    act_();
    return "1";
  }

 private:
  std::function<void()> act_;
};

class LowDescriptorsTest : public LayerTest {
 protected:
  // A layer that does this while it writes its first file.
  std::unique_ptr<OpenLayer> LayerThatActs(const std::function<void()>& act) {
    static const char key = 0;
    auto layer = NewLayer();
    layer->Empty();
    layer->settings_[&key] = new ActingSetting(act);
    return layer;
  }
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

TEST_F(LowDescriptorsTest, AreNotTakenFromAHostThatHasOneDescriptorLeftOrNone) {
  const auto layer = NewLayer();
  layer->WriteConfig(&request);  // a sanitizer takes a descriptor for each class it meets first
  const OutputFault full = {OutputFault::kFullDevice, {}, _IOFBF, ""};
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  for (const rlim_t left : {1U, 0U}) {
    tree.Write("ipv4/tcp_sack", "before");
    bool result = false;
    {
      const BrokenOutput broken(full);
      const int next = open("/", O_PATH);
      close(next);
      const rlimit so_many = {static_cast<rlim_t>(next) + left, limit.rlim_max};
      setrlimit(RLIMIT_NOFILE, &so_many);
      result = layer->WriteConfig(nullptr);
      setrlimit(RLIMIT_NOFILE, &limit);
    }
    EXPECT_TRUE(result);
    EXPECT_EQ(tree.Read("ipv4/tcp_sack"), left == 1 ? StartValues()["tcp_sack"] : "before");
  }
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
