// Files that the kernel has but lets nobody open for writing.

#include <sys/mount.h>

#include <cerrno>
#include <cstring>

#include "tests/kernel/fixture.h"

namespace {

using testing::ElementsAre;
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
  ~ReadOnlyFile() { Uncover(file_); }
  ReadOnlyFile(const ReadOnlyFile&) = delete;
  ReadOnlyFile& operator=(const ReadOnlyFile&) = delete;

 private:
  std::string file_;
};

// For the tests that need the core files, which kernels before 6.11 do not show in a private
// namespace.
template <class Base>
class WithCoreFiles : public Base {
  void SetUp() override {
    if (!KernelHas("core/rmem_max")) {
      GTEST_SKIP() << "this kernel shows no core/rmem_max in a private namespace";
    }
  }
};

class ReadOnlyCoreFilesTest : public WithCoreFiles<BareKernelTest> {};

class UncoveredCoreFileTest : public WithCoreFiles<KernelTest> {};

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

TEST_F(ReadOnlyCoreFilesTest,
       ARequestThatMeetsAReadOnlyCoreFileRollsBackAndThenAnswersWithAnError) {
  const Named named = {
      {"tcp_sack", "0"},
      {"tcp_fin_timeout", "20"},
  };
  const Values snapshot = Snapshot();
  auto layer = NewLayer();
  EXPECT_FALSE(Configure(*layer, named));
  EXPECT_EQ(output.Take(), FailureLines(named, FirstRequest(snapshot, named), snapshot,
                                        "core/rmem_max", "Permission denied"));
  EXPECT_THAT(Changes(found, ReadKernel()), IsEmpty());
}

TEST_F(ReadOnlyCoreFilesTest, AReleaseTellsOfBothReadOnlyCoreFilesAndWritesAllOthers) {
  const Values snapshot = Snapshot();
  auto layer = NewLayer();
  SetKernel("ipv4/tcp_dsack", "0");
  layer->Release();
  const std::string lines = output.Take();
  EXPECT_EQ(lines, RollbackLines(snapshot));
  EXPECT_THAT(lines, testing::StartsWith("\nsetting to previous values\n"
                                         "\nwriting config...\n"
                                         "error opening stream for write - file "
                                         "[/proc/sys/net/core/rmem_max]; error: Permission denied\n"
                                         "error opening stream for write - file "
                                         "[/proc/sys/net/core/wmem_max]; error: Permission denied\n"
                                         "tcp_abort_on_overflow = "));
  EXPECT_THAT(Changes(found, ReadKernel()), IsEmpty());
}

TEST_F(UncoveredCoreFileTest, AFailedRequestAlsoUndoesAnEarlierOneThatSucceeded) {
  const Values snapshot = Snapshot();
  auto layer = NewLayer();
  ASSERT_TRUE(Configure(*layer, "tcp_fin_timeout", "20"));
  ASSERT_EQ(KernelText("ipv4/tcp_fin_timeout"), "20");
  output.Take();
  Uncover("core/rmem_max");
  EXPECT_FALSE(Configure(*layer));
  EXPECT_EQ(output.Take(), FailureLines({}, FirstRequest(snapshot), snapshot, "core/rmem_max",
                                        "Permission denied"));
  EXPECT_THAT(Changes(found, ReadKernel()), IsEmpty());
}

TEST_F(KernelTest, AFailedRequestTakesBackWhatItHadWrittenBeforeTheRefusedFile) {
  const Named named = {
      {"tcp_dsack", "0"},
      {"tcp_window_scaling", "0"},
  };
  const Values snapshot = Snapshot();
  auto layer = NewLayer();
  const ReadOnlyFile refused("ipv4/tcp_sack");
  EXPECT_FALSE(Configure(*layer, named));
  EXPECT_EQ(output.Take(), FailureLines(named, FirstRequest(snapshot, named), snapshot,
                                        "ipv4/tcp_sack", "Read-only file system"));
  EXPECT_THAT(Changes(found, ReadKernel()), IsEmpty());
}

TEST_F(UncoveredCoreFileTest, ARequestAfterAFailedOneStartsFromTheSnapshot) {
  auto layer = NewLayer();
  ASSERT_TRUE(Configure(*layer, "tcp_fin_timeout", "20"));
  Uncover("core/rmem_max");
  ASSERT_FALSE(Configure(*layer, "tcp_dsack", "0"));
  MakeCoreFilesWritable();
  EXPECT_TRUE(Configure(*layer, "tcp_sack", "0"));
  EXPECT_THAT(Changes(found, ReadKernel()), ElementsAre(Pair("ipv4/tcp_sack", "0")));
}

}  // namespace
