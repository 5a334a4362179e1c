// Standard output that is closed, full or a broken pipe: kernel files and replies are as if it
// worked.

#include "tests/faults/broken_output.h"

#include <cstdio>
#include <filesystem>

#include "tests/layer/request_fixture.h"

namespace {

using recording_host::Settings;
using recording_host::Value;

// What each step of a story has come to, as text: the result and the replies of a request, and then
// all regular files.
using Story = std::vector<std::string>;

// Short ones, and some that no buffer of standard output holds.
std::string ValueOfRequest(int number) {
  return number % 10 == 0 ? std::string(10000, static_cast<char>('0' + number / 10 % 10))
                          : std::to_string(number);
}

class BrokenOutputTest : public LayerTest, public testing::WithParamInterface<OutputFault> {
 protected:
  // A layer's whole life with so many requests, of which every twentieth fails on a file.
  Story Live(const OutputFault& fault, int requests);

  // Delivers the contents to the layer and answers what is seen of it.
  std::string Serve(kaTCPLayer& layer, kaml_content* contents);

  std::string Files() const;
};

std::string BrokenOutputTest::Files() const {
  std::string files;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (std::filesystem::is_regular_file(TunableTree::Path(setting.file))) {
      files += setting.file + (" [" + tree.Read(setting.file)) + "]\n";
    }
  }
  return files;
}

std::string BrokenOutputTest::Serve(kaTCPLayer& layer, kaml_content* contents) {
  std::string seen = Configure(layer, contents) ? "true\n" : "false\n";
  for (const recording_host::Reply& reply : request.replies) {
    seen += "reply [" + reply.error + "] [" + reply.detail + "]\n";
  }
  request.replies.clear();
  recording_host::ResetHost();
  return seen + Files();
}

Story BrokenOutputTest::Live(const OutputFault& fault, int requests) {
  GivenKernelValues();
  Story story;
  const BrokenOutput broken(fault);
  auto* layer = new OpenLayer;
  for (int number = 1; number <= requests; ++number) {
    const std::string value = ValueOfRequest(number);
    if (number % 20 == 0) {
      tree.MakeFolder("ipv4/tcp_stdurg");
    }
    story.push_back(Serve(*layer, Settings({Value("tcp_sack", value)})));
    if (number % 20 == 0) {
      tree.Write("ipv4/tcp_stdurg", "back");
    }
  }
  layer->do_Release();
  story.push_back(Files());
  return story;
}

// Lines pile up in the C library's buffer, so that it takes many passes to fill it.
TEST_P(BrokenOutputTest, ChangesNeitherFilesNorReplies) {
  constexpr int kRequests = 200;
  const Story undisturbed = Live({OutputFault::kNone, {}, _IOFBF, ""}, kRequests);
  const Story story = Live(GetParam(), kRequests);
  ASSERT_EQ(undisturbed.size(), kRequests + 1U);
  for (std::size_t i = 0; i < undisturbed.size(); ++i) {
    ASSERT_EQ(story.at(i), undisturbed[i]) << "after request " << i + 1;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Output, BrokenOutputTest,
    testing::Values(OutputFault{OutputFault::kClosed, {1}, _IOFBF, "Closed"},
                    OutputFault{OutputFault::kClosed, {1}, _IOLBF, "ClosedTerminal"},
                    OutputFault{OutputFault::kClosed, {1}, _IONBF, "ClosedAndUnbuffered"},
                    OutputFault{OutputFault::kClosed, {0, 1}, _IOFBF, "ClosedWithInput"},
                    OutputFault{OutputFault::kClosed, {1, 2}, _IOFBF, "ClosedWithError"},
                    OutputFault{OutputFault::kClosed, {0, 1, 2}, _IOFBF, "ClosedWithBoth"},
                    OutputFault{OutputFault::kFullDevice, {}, _IOFBF, "FullDevice"},
                    OutputFault{OutputFault::kFullDevice, {}, _IONBF, "FullDeviceUnbuffered"},
                    OutputFault{OutputFault::kBrokenPipe, {}, _IOFBF, "BrokenPipe"},
                    OutputFault{OutputFault::kBrokenPipe, {}, _IOLBF, "BrokenPipeByLines"}),
    [](const auto& fault) { return fault.param.name; });

}  // namespace
