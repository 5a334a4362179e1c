// kaehost import --output: the file is written whole or not at all.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

namespace fs = std::filesystem;

namespace {

const std::string kDocument = "<tcp-settings>\n  <tcp_sack>0</tcp_sack>\n</tcp-settings>\n";

std::string Content(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// For `prepare`: lets files grow to `bytes` only. A greater one gets a SIGXFSZ.
void LimitFileSize(rlim_t bytes) {
  setenv("LLVM_PROFILE_FILE", "/dev/null", 1);  // what counts the lines reached needs more
  const rlimit limit = {bytes, bytes};
  setrlimit(RLIMIT_FSIZE, &limit);
}

class OutputOfImport : public testing::Test {
 protected:
  Outcome WriteTo(const std::string& output, const std::function<void()>& prepare = {}) const {
    return Kaehost({"import", "--quiet", "--output", output, settings_}, prepare);
  }

  // Makes links from link1 to link2 and so on, and from the last to document.xml. Returns link1.
  std::string Links(int count) const {
    for (int i = 1; i <= count; ++i) {
      const std::string next = i < count ? "link" + std::to_string(i + 1) : "document.xml";
      fs::create_symlink(next, folder_.Path("link" + std::to_string(i)));
    }
    return folder_.Path("link1");
  }

  // Expects that nothing is written, for this reason.
  void ExpectRefused(const std::string& output, const std::string& why,
                     const std::function<void()>& prepare = {}) const {
    const Outcome run = WriteTo(output, prepare);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err,
              "kaehost: " + output + ": cannot write: " + why + "; there is no document\n");
  }

  std::size_t FilesInFolder() const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder_.Path("")), fs::directory_iterator()));
  }

  const TempFolder folder_;
  const std::string settings_ = folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\n");
  const std::string document_ = folder_.Path("document.xml");
};

}  // namespace

TEST_F(OutputOfImport, IsAFile) {
  const Outcome run = WriteTo(document_);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out + run.err, "");
  EXPECT_EQ(Content(document_), kDocument);
}

TEST_F(OutputOfImport, HasTheModeOfTheFileThatItReplaces) {
  folder_.Write("document.xml", "old");
  fs::permissions(document_, fs::perms(0700));
  EXPECT_EQ(WriteTo(document_).status, 0);
  EXPECT_EQ(Content(document_), kDocument);
  EXPECT_EQ(fs::status(document_).permissions(), fs::perms(0700));
}

TEST_F(OutputOfImport, HasTheUsualModeIfTheFileIsNew) {
  EXPECT_EQ(WriteTo(document_, [] { umask(027); }).status, 0);
  EXPECT_EQ(fs::status(document_).permissions(), fs::perms(0640));
}

// A reader that opened the old file, as the other name here, never sees a part of the new one.
TEST_F(OutputOfImport, ReplacesTheOldFileInOneStep) {
  folder_.Write("document.xml", "old");
  const std::string other_name = folder_.Path("other.xml");
  fs::create_hard_link(document_, other_name);
  EXPECT_EQ(WriteTo(document_).status, 0);
  EXPECT_EQ(Content(document_), kDocument);
  EXPECT_EQ(Content(other_name), "old");
}

TEST_F(OutputOfImport, IsNotThereIfItCannotBeWrittenWhole) {
  EXPECT_EQ(WriteTo(document_, [] { LimitFileSize(kDocument.size() - 1); }).status, 2);
  EXPECT_EQ(FilesInFolder(), 1U) << "only the settings";
  EXPECT_EQ(WriteTo(document_, [] { LimitFileSize(kDocument.size()); }).status, 0);
}

// The limit holds for the sentence too, which goes to a file here.
TEST_F(OutputOfImport, LeavesTheOldFileIfItCannotBeWrittenWhole) {
  folder_.Write("document.xml", "old");
  folder_.Write("settings.conf",
                "net.ipv4.tcp_rmem = 1 2 3\nnet.ipv4.tcp_wmem = 1 2 3\nnet.ipv4.tcp_mem = 1 2 3\n");
  ExpectRefused(document_, "File too large", [] { LimitFileSize(300); });
  EXPECT_EQ(Content(document_), "old");
  EXPECT_EQ(FilesInFolder(), 2U) << "only the settings and the old document";
}

TEST_F(OutputOfImport, LeavesTheOldFileIfTheDiskIsFull) {
  const std::string disk = folder_.Path("disk");
  fs::create_directory(disk);
  ASSERT_EQ(mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=8k"), 0);
  folder_.Write("disk/document.xml", "old");
  folder_.Write("disk/other", std::string(4096, 'x'));
  ExpectRefused(disk + "/document.xml", "No space left on device");
  EXPECT_EQ(Content(disk + "/document.xml"), "old");
  EXPECT_EQ(std::distance(fs::directory_iterator(disk), fs::directory_iterator()), 2);
  umount2(disk.c_str(), MNT_DETACH);
}

TEST_F(OutputOfImport, LeavesAFolderThatIsReadOnly) {
  folder_.Write("document.xml", "old");
  ExpectRefused(document_, "Read-only file system",
                [this] { MountReadOnly(folder_.Path("").c_str()); });
  fs::permissions(folder_.Path(""), fs::perms(0555));
  ExpectRefused(document_, "Permission denied", BecomeOrdinaryUser);
  ExpectRefused(folder_.Path("new.xml"), "Permission denied", BecomeOrdinaryUser);
  fs::permissions(folder_.Path(""), fs::perms(0755));
  EXPECT_EQ(Content(document_), "old");
}

TEST_F(OutputOfImport, LeavesAFileThatIsReadOnly) {
  folder_.Write("document.xml", "old");
  fs::permissions(document_, fs::perms(0444));
  ExpectRefused(document_, "Permission denied", BecomeOrdinaryUser);
  EXPECT_EQ(Content(document_), "old");
}

TEST_F(OutputOfImport, NeedsNoFilesWithoutAName) {
  EXPECT_EQ(WriteTo(document_, ForbidFilesWithoutAName).status, 0);
  EXPECT_EQ(Content(document_), kDocument);
  fs::permissions(document_, fs::perms(0604));
  EXPECT_EQ(WriteTo(document_, ForbidFilesWithoutAName).status, 0);
  EXPECT_EQ(fs::status(document_).permissions(), fs::perms(0604));
  EXPECT_EQ(WriteTo(document_,
                    [] {
                      ForbidFilesWithoutAName();
                      LimitFileSize(0);
                    })
                .status,
            2);
  EXPECT_EQ(FilesInFolder(), 2U) << "only the settings and the document";
}

TEST_F(OutputOfImport, NeedsNoSignalOfItsChild) {
  EXPECT_EQ(WriteTo(document_, [] { std::signal(SIGCHLD, SIG_IGN); }).status, 0);
}

TEST_F(OutputOfImport, IsStandardOutputIfItIsADash) {
  const auto change_folder = [this] { fs::current_path(folder_.Path("")); };
  const Outcome run = WriteTo("-", change_folder);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, kDocument);
  EXPECT_EQ(FilesInFolder(), 1U) << "only the settings";
  EXPECT_EQ(WriteTo("./-", change_folder).out, "");
  EXPECT_EQ(Content(folder_.Path("-")), kDocument);
}

TEST_F(OutputOfImport, GoesToTheEndOfAnOpenFile) {
  const int log = open(folder_.Write("log", "before\n").c_str(), O_RDWR);
  EXPECT_EQ(WriteTo("/dev/stdout", [log] { dup2(log, STDOUT_FILENO); }).status, 0);
  EXPECT_EQ(Content(folder_.Path("log")), "before\n" + kDocument);
  fs::remove(folder_.Path("log"));
  EXPECT_EQ(WriteTo("/proc/self/fd/" + std::to_string(log)).status, 0);
  std::string text(100, '\0');
  text.resize(static_cast<std::size_t>(pread(log, text.data(), text.size(), 7 + 56)));
  EXPECT_EQ(text, kDocument);
  EXPECT_EQ(FilesInFolder(), 1U) << "only the settings";
  close(log);
}

TEST_F(OutputOfImport, GoesWhereALinkLeads) {
  folder_.Write("document.xml", "old");
  const std::string link = Links(1);
  EXPECT_EQ(WriteTo(link).status, 0);
  EXPECT_EQ(Content(document_), kDocument);
  EXPECT_TRUE(fs::is_symlink(link));
}

TEST_F(OutputOfImport, GoesWhereFortyLinksLeadThoughNoFileIsThere) {
  const std::string link = Links(40);
  EXPECT_EQ(WriteTo(link).status, 0);
  EXPECT_EQ(Content(document_), kDocument);
  EXPECT_TRUE(fs::is_symlink(folder_.Path("link40")));
}

TEST_F(OutputOfImport, IsRefusedAfterFortyLinks) {
  const std::string link = Links(41);
  ExpectRefused(link, "Too many levels of symbolic links");
  EXPECT_FALSE(fs::exists(document_));
  EXPECT_EQ(FilesInFolder(), 42U) << "only the settings and the links";
  fs::create_symlink("link1", document_);
  ExpectRefused(document_, "Too many levels of symbolic links");
}

TEST_F(OutputOfImport, GoesToAnotherFileSystem) {
  const std::string other = folder_.Path("other");
  fs::create_directory(other);
  ASSERT_EQ(mount("tmpfs", other.c_str(), "tmpfs", 0, nullptr), 0);
  EXPECT_EQ(WriteTo(other + "/document.xml").status, 0);
  EXPECT_EQ(Content(other + "/document.xml"), kDocument);
  umount2(other.c_str(), MNT_DETACH);
}

TEST_F(OutputOfImport, GoesIntoAPipeAsItIs) {
  const std::string pipe = folder_.Path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const int end = open(pipe.c_str(), O_RDWR | O_NONBLOCK);
  EXPECT_EQ(WriteTo(pipe).status, 0);
  EXPECT_TRUE(fs::is_fifo(pipe));
  std::string piped(kDocument.size(), '\0');
  EXPECT_EQ(read(end, piped.data(), piped.size()), static_cast<ssize_t>(piped.size()));
  EXPECT_EQ(piped, kDocument);
  close(end);
}

TEST_F(OutputOfImport, IsRefusedIfThereCanBeNoSuchFile) {
  const std::string folder = folder_.Path("folder");
  fs::create_directory(folder);
  sockaddr_un address = {AF_UNIX, "socket"};
  folder_.Path("socket").copy(address.sun_path, sizeof address.sun_path - 1);
  const int end = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(end, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  for (const auto& [output, why] :
       {std::pair{folder, "Is a directory"}, std::pair{folder + "/", "Is a directory"},
        std::pair{folder + "/..", "Is a directory"},
        std::pair{folder_.Path("new.xml/"), "No such file or directory"},
        std::pair{settings_ + "/", "Not a directory"},
        std::pair{folder_.Path("no/where.xml"), "No such file or directory"},
        std::pair{folder_.Path(std::string(256, 'x')), "File name too long"},
        std::pair{folder_.Path("socket"), "No such device or address"},
        std::pair{std::string("/dev/full"), "No space left on device"}}) {
    ExpectRefused(output, why);
  }
  EXPECT_EQ(WriteTo(folder_.Path(std::string(255, 'x'))).status, 0);
  close(end);
}
