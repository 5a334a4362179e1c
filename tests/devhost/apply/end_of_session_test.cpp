// How sessions on the machine's own tunables end if something else than the plug-in fails: the
// reader of the report, or the disk. "The machine's own" tunables are those of the test's
// private namespace.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/journal_folder.h"
#include "devhost/kaehost/kernel/scratch_files.h"
#include "devhost/kaehost/kernel/tunables.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

namespace {

const std::string kOutputLost =
    "kaehost: cannot write standard output; what it shows is incomplete\n";

class EndOfSession : public testing::Test {
 protected:
  EndOfSession() {
    devhost::MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
  }

  // Runs a session whose command shows that the settings are there. Expects that all tunables are
  // as before, and that no journal is left.
  Outcome Apply(const std::vector<std::string>& options,
                const std::function<void()>& prepare = {}) const {
    std::vector<std::string> arguments = {"apply", "--live", document_};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.insert(arguments.end(),
                     {"--", "sh", "-c", "cat /proc/sys/net/ipv4/tcp_fin_timeout >" + value_});
    Outcome run = Kaehost(arguments, prepare);
    EXPECT_EQ(devhost::ReadTunables(), before_);
    EXPECT_NE(access(journal_.c_str(), F_OK), 0);
    return run;
  }

  std::string ValueUnderTheSettings() const {
    std::string value;
    std::ifstream(value_) >> value;
    return value;
  }

  const PrivateRun run_;
  const TempFolder folder_;
  const std::string value_ = folder_.Path("value");
  const std::string journal_ = "/run/kaehost/" + devhost::JournalFolder::NameHere();
  const std::string document_ = folder_.Write(
      "document.xml", "<tcp-settings><tcp_fin_timeout>20</tcp_fin_timeout></tcp-settings>");
  const devhost::Tunables before_ = devhost::ReadTunables();
};

}  // namespace

TEST_F(EndOfSession, OnAFullDiskRestoresTheTunablesAndReportsTheOutput) {
  for (const char* option : {"--verbose", "--json"}) {
    const Outcome run = Apply({option}, [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
    EXPECT_EQ(run.status, 1) << option;
    EXPECT_EQ(run.err, kOutputLost) << option;
    EXPECT_EQ(ValueUnderTheSettings(), "20") << option;
  }
}

TEST_F(EndOfSession, WithoutAReaderRestoresTheTunablesAndReportsTheOutput) {
  const Outcome run = Apply({"--verbose"}, [] {
    int ends[2];
    if (pipe(ends) == 0) {
      close(ends[0]);
      dup2(ends[1], STDOUT_FILENO);
    }
  });
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, kOutputLost);
  EXPECT_EQ(ValueUnderTheSettings(), "20");
}

// The folder of the journals is full. Nothing begins: not even the plug-in is loaded.
TEST_F(EndOfSession, IsBeforeItsBeginIfTheDiskOfTheJournalIsFull) {
  devhost::JournalFolder::OpenOrCreate();
  ASSERT_EQ(mount("tmpfs", "/run/kaehost", "tmpfs", 0, "size=4k,mode=700"), 0);
  std::ofstream("/run/kaehost/filler") << std::string(4096, 'x');
  const Outcome run = Apply({"--plugin", TestPlugin("changes_when_loaded")});
  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.err, "kaehost: " + journal_ +
                         ": cannot write the journal of the original values: No space left on "
                         "device; nothing was written to the tunables; make /run writable (mount "
                         "-t tmpfs tmpfs /run), or go without a journal by --no-journal\n");
  EXPECT_EQ(ValueUnderTheSettings(), "");
  umount2("/run/kaehost", MNT_DETACH);
}

// The disk fills up while the session lasts.
TEST_F(EndOfSession, DeletesItsJournalOnAFullDiskToo) {
  devhost::JournalFolder::OpenOrCreate();
  ASSERT_EQ(mount("tmpfs", "/run/kaehost", "tmpfs", 0, "size=16k,mode=700"), 0);
  const Outcome run = Kaehost({"apply", "--live", document_, "--", "sh", "-c",
                               "! head -c 16384 /dev/zero >/run/kaehost/filler 2>/dev/null"});
  EXPECT_EQ(run.status, 0) << run.out << run.err;
  EXPECT_EQ(devhost::ReadTunables(), before_);
  EXPECT_NE(access(journal_.c_str(), F_OK), 0);
  umount2("/run/kaehost", MNT_DETACH);
}
