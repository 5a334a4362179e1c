// Files that the kernel has but lets nobody open for writing.

#include <sys/mount.h>

#include "tests/kernel/fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

// Lets the real file refuse to be opened for writing (EROFS) for as long as this object lives.
class ReadOnlyFile {
 public:
  explicit ReadOnlyFile(const std::string& file) : file_(file) {
    constexpr unsigned long kAsProcIs = MS_NOSUID | MS_NODEV | MS_NOEXEC;
    const std::string path = KernelPath(file);
    mount(path.c_str(), path.c_str(), nullptr, MS_BIND, nullptr);
    mount(nullptr, path.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY | kAsProcIs, nullptr);
  }
  ~ReadOnlyFile() { umount2(KernelPath(file_).c_str(), MNT_DETACH); }
  ReadOnlyFile(const ReadOnlyFile&) = delete;
  ReadOnlyFile& operator=(const ReadOnlyFile&) = delete;

 private:
  std::string file_;
};

// Everything that a request tells which is refused `file`, given what it would have written and the
// values that it rolls back to: nothing of the refusal itself before the rollback.
std::string FailureLines(const Named& named, const Values& values, const Values& snapshot,
                         const std::string& file, const std::string& error) {
  const std::string detail = "[/proc/sys/net/" + file + "]: " + error;
  const std::string whole_pass = WriteLines(values);
  const std::size_t refused = whole_pass.find("error opening stream for write - file [");
  return ReceivedLines(named) + whole_pass.substr(0, refused) + "file write error: " + detail +
         '\n' + RollbackLines(snapshot) + "{error \"file error\" \"" + detail + "\"}\n";
}

// Kernels before 6.11 do not show the core files in a private namespace, and nothing fails.
TEST_F(BareKernelTest, ARequestFailsAtAReadOnlyCoreFileAndSkipsAMissingOne) {
  const Named named = {
      {"tcp_sack", "0"},
      {"tcp_fin_timeout", "20"},
  };
  const Values snapshot = Snapshot();
  const Values values = FirstRequest(snapshot, named);
  const bool is_missing = !KernelHas("core/rmem_max");
  auto layer = NewLayer();
  EXPECT_EQ(Configure(*layer, named), is_missing);
  EXPECT_EQ(output.Take(), is_missing ? ReceivedLines(named) + WriteLines(values) + "{success}\n"
                                      : FailureLines(named, values, snapshot, "core/rmem_max",
                                                     "Permission denied"));
  EXPECT_EQ(KernelText("ipv4/tcp_sack"), is_missing ? "0" : found.at("ipv4/tcp_sack"));
}

TEST_F(KernelTest, AFailedRequestTakesBackWhatItAndAnEarlierOneHadWritten) {
  const Named named = {
      {"tcp_dsack", "0"},
      {"tcp_window_scaling", "0"},
  };
  const Values snapshot = Snapshot();
  auto layer = NewLayer();
  ASSERT_TRUE(Configure(*layer, "tcp_abort_on_overflow", "1"));
  ASSERT_EQ(KernelText("ipv4/tcp_abort_on_overflow"), "1");
  output.Take();
  Values values = FirstRequest(snapshot, named);
  values["tcp_abort_on_overflow"] = "1";
  const ReadOnlyFile refused("ipv4/tcp_sack");
  EXPECT_FALSE(Configure(*layer, named));
  EXPECT_EQ(output.Take(),
            FailureLines(named, values, snapshot, "ipv4/tcp_sack", "Read-only file system"));
  EXPECT_THAT(Changes(found, ReadKernel()), IsEmpty());
}

TEST_F(KernelTest, ARequestAfterAFailedOneStartsFromTheSnapshot) {
  auto layer = NewLayer();
  ASSERT_TRUE(Configure(*layer, "tcp_fin_timeout", "20"));
  {
    const ReadOnlyFile refused("ipv4/tcp_sack");
    ASSERT_FALSE(Configure(*layer, "tcp_dsack", "0"));
  }
  EXPECT_TRUE(Configure(*layer, "tcp_sack", "0"));
  EXPECT_THAT(Changes(found, ReadKernel()), ElementsAre(Pair("ipv4/tcp_sack", "0")));
}

TEST_F(BareKernelTest, AReleaseTellsOfFilesThatRefuseAndWritesAllOthers) {
  const Values snapshot = Snapshot();
  auto layer = NewLayer();
  SetKernel("ipv4/tcp_dsack", "0");
  SetKernel("ipv4/tcp_window_scaling", "0");
  const ReadOnlyFile refused("ipv4/tcp_sack");
  layer->Release();
  const std::string lines = output.Take();
  EXPECT_EQ(lines, RollbackLines(snapshot));
  EXPECT_THAT(lines, HasSubstr("error opening stream for write - file "
                               "[/proc/sys/net/ipv4/tcp_sack]; error: Read-only file system\n"));
  EXPECT_THAT(Changes(found, ReadKernel()), IsEmpty());
}

}  // namespace
