// Errors behind a good open: nothing is told, nothing rolled back, everything else is written.

#include "tests/faults/failing_close.h"
#include "tests/layer/request_fixture.h"

namespace {

using recording_host::Settings;
using recording_host::Value;

const Values kChanges = {{"tcp_sack", "0"}, {"tcp_mem_high", "123456"}};

const std::string kRequestLines = kReceivedLine + SettingLine("tcp_mem_high", "123456") +
                                  SettingLine("tcp_sack", "0") + WriteLines(With(kChanges)) +
                                  kSuccess;
const std::string kReleaseLines = kToPreviousLines + WriteLines(KernelValues());

class LateErrorTest : public LayerTest {
 protected:
  bool Request(kaTCPLayer& layer) {
    return Configure(layer, Settings({Value("tcp_mem_high", "123456"), Value("tcp_sack", "0")}));
  }
};

TEST_F(LateErrorTest, OfFullDevicesGoUnnoticedAmongFilesThatAreWritten) {
  for (const std::size_t first : {0U, 1U}) {
    GivenKernelValues();
    auto* layer = NewLayer().release();
    for (std::size_t i = first; i < ExpectedCatalogue().size(); i += 2) {
      tree.MakeFull(ExpectedCatalogue()[i].file);
    }
    EXPECT_TRUE(Request(*layer));
    EXPECT_EQ(output.Take(), kRequestLines);
    ExpectFiles(With(kChanges));
    layer->do_Release();
    EXPECT_EQ(output.Take(), kReleaseLines);
    ExpectFiles(KernelValues());
  }
}

TEST_F(LateErrorTest, OfEveryCloseGoUnnoticedInARequestAndARelease) {
  auto layer = NewLayer();
  EXPECT_EQ(RunWithFailingClose([&] { return Request(*layer); }), 1);
  EXPECT_EQ(output.Take(), kRequestLines);
  ExpectFiles(With(kChanges));
  EXPECT_EQ(RunWithFailingClose([&] { return layer.release()->do_Release(), 0; }), 0);
  EXPECT_EQ(output.Take(), kReleaseLines);
  ExpectFiles(KernelValues());
}

// The open's own error is told and answered as ever.
TEST_F(LateErrorTest, OfEveryCloseGoUnnoticedInARollback) {
  const std::string detail = "[/proc/sys/net/core/rmem_max]: Is a directory";
  const std::string not_opened =
      "error opening stream for write - file [/proc/sys/net/core/rmem_max]; error: Is a "
      "directory\n";
  const auto layer = NewLayer();
  tree.MakeFolder("core/rmem_max");
  EXPECT_EQ(RunWithFailingClose([&] { return layer->WriteConfig(&request); }), 0);
  EXPECT_EQ(output.Take(), "\nwriting config...\nfile write error: " + detail + "\n" +
                               kToPreviousLines +
                               WriteLines(KernelValues(), {{"rmem_max", not_opened}}) +
                               "{error \"file error\" \"" + detail + "\"}\n");
  ExpectFiles(KernelValues());
}

}  // namespace
