// Standard output that is closed, full or a broken pipe: kernel files and replies are as if it
// worked.

#include "tests/faults/broken_output.h"

#include <cstdio>
#include <filesystem>

#include "tests/layer/request_fixture.h"

namespace {

using recording_host::Settings;
using recording_host::Value;

// What is seen of a story without standard output.
struct Seen {
  std::vector<bool> results;
  std::vector<std::pair<std::string, std::string>> replies;  // both texts; empty for success
  std::vector<Values> files;                                 // all regular ones, after each step

  bool operator==(const Seen&) const = default;
};

// Short ones, and some that no buffer of standard output holds.
std::string ValueOfRequest(int number) {
  return number % 10 == 0 ? std::string(10000, static_cast<char>('0' + number / 10 % 10))
                          : std::to_string(number);
}

class BrokenOutputTest : public LayerTest, public testing::WithParamInterface<OutputFault> {
 protected:
  // A layer's whole life with so many requests, of which every twentieth fails on a file.
  Seen Live(const OutputFault& fault, int requests);

  // Delivers the contents to the layer and notes what is seen of it.
  void Serve(kaTCPLayer& layer, kaml_content* contents, Seen& seen);

  Values Files() const;
};

Values BrokenOutputTest::Files() const {
  Values files;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (std::filesystem::is_regular_file(TunableTree::Path(setting.file))) {
      files[setting.file] = tree.Read(setting.file);
    }
  }
  return files;
}

void BrokenOutputTest::Serve(kaTCPLayer& layer, kaml_content* contents, Seen& seen) {
  seen.results.push_back(Configure(layer, contents));
  for (const recording_host::Reply& reply : request.replies) {
    seen.replies.emplace_back(reply.error, reply.detail);
  }
  request.replies.clear();
  recording_host::ResetHost();
  seen.files.push_back(Files());
}

Seen BrokenOutputTest::Live(const OutputFault& fault, int requests) {
  GivenKernelValues();
  Seen seen;
  const BrokenOutput broken(fault);
  auto* layer = new OpenLayer;
  for (int number = 1; number <= requests; ++number) {
    const std::string value = ValueOfRequest(number);
    if (number % 20 == 0) {
      tree.MakeFolder("ipv4/tcp_stdurg");
    }
    Serve(*layer, Settings({Value("tcp_sack", value), Value("tcp_mem_high", value)}), seen);
    if (number % 20 == 0) {
      tree.Write("ipv4/tcp_stdurg", "back");
    }
  }
  layer->do_Release();
  seen.files.push_back(Files());
  return seen;
}

// Lines pile up in the C library's buffer, so that it takes many passes to fill it.
TEST_P(BrokenOutputTest, ChangesNeitherFilesNorReplies) {
  constexpr int kRequests = 200;
  const Seen undisturbed = Live({OutputFault::kNone, {}, _IOFBF, ""}, kRequests);
  const Seen seen = Live(GetParam(), kRequests);
  ASSERT_EQ(undisturbed.files.size(), kRequests + 1U);
  EXPECT_EQ(seen.results, undisturbed.results);
  EXPECT_EQ(seen.replies, undisturbed.replies);
  for (std::size_t i = 0; i < undisturbed.files.size(); ++i) {
    ASSERT_EQ(seen.files.at(i), undisturbed.files[i]) << "after request " << i + 1;
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
