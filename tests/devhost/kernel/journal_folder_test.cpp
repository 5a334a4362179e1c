// The folder of journals: what is written there and when, who has a journal, and what is refused.

#include "devhost/kaehost/kernel/journal_folder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/devhost/support/temp_folder.h"

namespace fs = std::filesystem;

using devhost::CommandToRestore;
using devhost::JournalFile;
using devhost::JournalFolder;
using devhost::JournalInUse;
using devhost::NamespaceError;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::ThrowsMessage;

namespace {

const devhost::Tunables kBefore = {{"ipv4/tcp_sack", {"1"}}};

// What is on the disk when fsync returns: for a file its path at that time and whether it was
// whole, for a folder its path.
std::vector<std::string> synced;  // NOLINT: written by fsync

// Called with the path of a file before it is locked.
std::function<void(const std::string&)> before_locking;  // NOLINT: called by flock

// Files that belong to another user than the one of the tests. Only the machine's root can make
// them, and before main enters a namespace; for others, the machine's root is another user.
class ForeignFiles {
 public:
  ForeignFiles() {
    constexpr uid_t kNobody = 65534;
    is_ours_ = chown(folder_.Write("file", "").c_str(), kNobody, kNobody) == 0 &&
               mkdir(folder_.Path("folder").c_str(), 0755) == 0 &&
               chown(folder_.Path("folder").c_str(), kNobody, kNobody) == 0;
  }

  std::string File() const { return is_ours_ ? folder_.Path("file") : "/proc/version"; }
  std::string Folder() const { return is_ours_ ? folder_.Path("folder") : "/proc"; }

 private:
  TempFolder folder_;
  bool is_ours_ = false;
};

const ForeignFiles foreign;  // NOLINT: before main

std::string Content(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

mode_t ModeOf(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

JournalFile BeginJournal(const std::string& option, const devhost::Tunables& before,
                         const std::string& path) {
  const JournalFolder folder = JournalFolder::OpenOrCreate(path);
  folder.EndFormerSession(option);
  return folder.Write(option, before);
}

class Journals : public testing::Test {
 protected:
  JournalFolder Open() const { return JournalFolder::OpenOrCreate(path_); }

  // The journal of a session that ended without removing it.
  void LeaveJournal() const { BeginJournal("--live", kBefore, path_); }

  // What reading the journal of this namespace is refused with.
  std::string Refusal() const {
    try {
      return Open().Read(name_) ? "none: it was read" : "none: there is no such file";
    } catch (const NamespaceError& error) {
      return error.what();
    }
  }

  std::string RefusalToBegin() const {
    try {
      BeginJournal("--live", kBefore, path_);
      return "none";
    } catch (const NamespaceError& error) {
      return error.what();
    }
  }

  // What is started by exec must not keep the folder or the journal, which are both open.
  void ExpectClosedByExec() const {
    int open_files = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
      std::error_code closed;
      if (fs::read_symlink(entry.path(), closed).string().starts_with(path_)) {
        EXPECT_EQ(fcntl(std::stoi(entry.path().filename()), F_GETFD), FD_CLOEXEC) << entry.path();
        ++open_files;
      }
    }
    EXPECT_EQ(open_files, 2);
  }

  static std::string FoundOut(const std::string& what) {
    return what + "; kaehost did not make it so; find out who did, then delete it";
  }

  const TempFolder folder_;
  const std::string path_ = folder_.Path("kaehost");
  const std::string name_ = JournalFolder::NameHere();
  const std::string file_ = path_ + '/' + name_;
};

}  // namespace

// These two take the place of the C library's.
int flock(int fd, int operation) {
  if (before_locking) {
    before_locking(fs::read_symlink("/proc/self/fd/" + std::to_string(fd)));
  }
  return static_cast<int>(syscall(SYS_flock, fd, operation));
}

int fsync(int fd) {
  const std::string path = fs::read_symlink("/proc/self/fd/" + std::to_string(fd));
  const bool is_whole =
      !fs::is_directory(path) && Content(path).find("\nend ") != std::string::npos;
  synced.push_back(path + (is_whole ? " whole" : ""));
  return static_cast<int>(syscall(SYS_fsync, fd));
}

TEST_F(Journals, AreForRootOnlyWhateverTheMask) {
  for (const mode_t mask : {0000U, 0077U}) {
    const mode_t before = umask(mask);
    const JournalFile journal = BeginJournal("--live", kBefore, path_);
    umask(before);
    EXPECT_EQ(ModeOf(path_), 0700U);
    EXPECT_EQ(ModeOf(file_), 0600U);
    fs::remove_all(path_);
  }
}

TEST_F(Journals, AreOnTheDiskWithTheirNameWhenTheyAreBegun) {
  synced.clear();
  const JournalFile journal = BeginJournal("--netns blue", kBefore, path_);
  EXPECT_EQ(journal.path(), file_);
  EXPECT_EQ(Content(file_), TextOf(journal.journal()));
  EXPECT_EQ(journal.journal().option, "--netns blue");
  EXPECT_EQ(journal.journal().tunables, kBefore);
  EXPECT_THAT(synced, ElementsAre(file_ + ".new whole", path_));
  EXPECT_THAT(Open().Names(), ElementsAre(name_));
}

TEST_F(Journals, AreNamedAfterTheNetworkNamespace) {
  struct stat network = {};
  ASSERT_EQ(stat("/proc/self/ns/net", &network), 0);
  EXPECT_EQ(name_, "net-" + std::to_string(network.st_ino));
}

TEST_F(Journals, AreReadAfterTheirSessionEnded) {
  LeaveJournal();
  const auto journal = Open().Read(name_);
  ASSERT_TRUE(journal);
  EXPECT_EQ(journal->path(), file_);
  EXPECT_EQ(journal->journal().process, getpid());
  EXPECT_EQ(journal->journal().tunables, kBefore);
}

TEST_F(Journals, AreNoneWithoutFolderOrFile) {
  EXPECT_FALSE(JournalFolder::Open(path_));
  EXPECT_FALSE(Open().Read(name_));
  EXPECT_THAT(Open().Names(), IsEmpty());
  EXPECT_TRUE(JournalFolder::Open(path_));
}

TEST_F(Journals, BelongToOneSessionUntilItsLastProcessEnds) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  pid_t child = 0;
  {
    const JournalFile journal = BeginJournal("--live", kBefore, path_);
    child = fork();
    if (child == 0) {
      char byte = 0;
      close(ends[1]);
      _exit(read(ends[0], &byte, 1) == 0 ? 0 : 1);
    }
    EXPECT_THAT(Refusal(), StartsWith(file_ + ": in use since 20"));
  }
  const std::string in_use = " by the session of process " + std::to_string(getpid()) +
                             "; one session at a time can change these tunables; end that one "
                             "first";
  EXPECT_THAT(Refusal(), HasSubstr(in_use));
  EXPECT_THAT(RefusalToBegin(), HasSubstr(in_use));
  EXPECT_THROW(Open().Read(name_), JournalInUse);
  close(ends[1]);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(Refusal(), "none: it was read");
}

TEST_F(Journals, OfASessionThatEndedNameTheProcessThatStillHasThem) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const auto wait_for_the_end = [&ends] {
    char byte = 0;
    close(ends[1]);
    _exit(read(ends[0], &byte, 1) == 0 ? 0 : 1);
  };
  if (fork() == 0) {  // has another file of the same file system open
    std::ofstream other(folder_.Path("other"));
    wait_for_the_end();
  }
  const pid_t session = fork();
  if (session == 0) {
    const JournalFile journal = BeginJournal("--live", kBefore, path_);
    const pid_t started = fork();
    if (started == 0) {
      wait_for_the_end();
    }
    std::ofstream(folder_.Path("started")) << started;
    _exit(0);
  }
  waitpid(session, nullptr, 0);
  EXPECT_THAT(Refusal(), HasSubstr(" by process " + Content(folder_.Path("started")) +
                                   " of the session of process " + std::to_string(session) + ";"));
  close(ends[1]);
  close(ends[0]);
}

TEST_F(Journals, AreNotKeptByAnotherProgram) {
  {
    const JournalFile written = BeginJournal("--live", kBefore, path_);
    const auto folder = Open();
    ExpectClosedByExec();
  }
  const auto folder = Open();
  const auto read = folder.Read(name_);
  ExpectClosedByExec();
}

TEST(CommandToRestore, HasTheNameAsAShellNeedsIt) {
  for (const std::string name : {"/proc/12/ns/net", "-x", "my own\tname", "it's", R"("$x" `y` a\b)",
                                 "!#&()*;<>?[]^{|}~", "~", "\xc3\xa9\xff"}) {
    const std::string command = CommandToRestore("--netns " + name);
    FILE* const shell = popen(("kaehost() { printf '%s %s %s' \"$@\"; }; " + command).c_str(), "r");
    ASSERT_NE(shell, nullptr);
    std::string words(100, '\0');
    words.resize(std::fread(words.data(), 1, words.size(), shell));
    EXPECT_EQ(pclose(shell), 0) << command;
    EXPECT_EQ(words, "restore --netns " + name);
  }
  EXPECT_EQ(CommandToRestore("--live"), "kaehost restore --live");
  EXPECT_EQ(CommandToRestore("--netns /run/netns/a"), "kaehost restore --netns /run/netns/a");
}

TEST_F(Journals, RefuseASessionAfterOneThatDidNotRestore) {
  BeginJournal("--live", {{"ipv4/tcp_sack", {"7"}}}, path_);
  EXPECT_THAT(RefusalToBegin(),
              testing::MatchesRegex(
                  file_ + ": the session of process " + std::to_string(getpid()) +
                  ", started 20[-0-9T:]*Z, ended without restoring these tunables; run 'kaehost "
                  "restore --live' first"));
  EXPECT_THAT([&] { BeginJournal("--netns blue", kBefore, path_); },
              ThrowsMessage<NamespaceError>(HasSubstr("run 'kaehost restore --netns blue' first")));
  EXPECT_THAT([&] { BeginJournal("--netns my own", kBefore, path_); },
              ThrowsMessage<NamespaceError>(HasSubstr("run 'kaehost restore --netns my\\ own' ")));
}

TEST_F(Journals, AreDeletedIfTheirSessionWasKilledAndNothingDiffers) {
  LeaveJournal();
  const std::optional<std::string> sentence = Open().EndFormerSession("--live");
  ASSERT_TRUE(sentence);
  EXPECT_THAT(*sentence, testing::MatchesRegex(
                             file_ + ": the session of process " + std::to_string(getpid()) +
                             ", started 20[-0-9T:]*Z, was killed, but no tunable differs; journal "
                             "deleted"));
  EXPECT_EQ(Refusal(), "none: there is no such file");
  EXPECT_FALSE(Open().EndFormerSession("--live"));
}

// A folder over the tunable: it can be opened, but not read.
TEST_F(Journals, AreKeptIfATunableCannotBeRead) {
  LeaveJournal();
  constexpr const char* kTunables = "/proc/sys/net/ipv4";
  ASSERT_EQ(mount("tmpfs", kTunables, "tmpfs", 0, nullptr), 0);
  fs::create_directory("/proc/sys/net/ipv4/tcp_sack");
  EXPECT_THAT(RefusalToBegin(), HasSubstr("ended without restoring these tunables"));
  fs::remove("/proc/sys/net/ipv4/tcp_sack");
  EXPECT_THAT(RefusalToBegin(), HasSubstr("ended without restoring these tunables"));
  umount2(kTunables, MNT_DETACH);
  EXPECT_EQ(RefusalToBegin(), "none");
}

TEST_F(Journals, RefuseASessionInAnotherNamespaceOfTheSameNumber) {
  devhost::Journal journal = devhost::NewJournal("--live", kBefore);
  journal.cookie += '0';
  LeaveJournal();
  std::ofstream(file_) << TextOf(journal);
  EXPECT_THAT(RefusalToBegin(), StartsWith(file_ + ": the journal of another network namespace"));
}

TEST_F(Journals, AreDeletedInTheEnd) {
  {
    const JournalFile journal = BeginJournal("--live", kBefore, path_);
    journal.Remove();
    EXPECT_FALSE(fs::exists(file_));
  }
  EXPECT_EQ(RefusalToBegin(), "none");
}

TEST_F(Journals, AreNotDeletedForAnothersSake) {
  const JournalFile journal = BeginJournal("--live", kBefore, path_);
  fs::remove(file_);
  journal.Remove();
  LeaveJournal();
  journal.Remove();
  EXPECT_EQ(Refusal(), "none: it was read");
}

TEST_F(Journals, SayIfTheyCannotBeDeleted) {
  const JournalFile journal = BeginJournal("--live", kBefore, path_);
  ASSERT_EQ(mount(file_.c_str(), file_.c_str(), nullptr, MS_BIND, nullptr), 0);
  EXPECT_THAT([&] { journal.Remove(); },
              ThrowsMessage<NamespaceError>(file_ + ": cannot delete: Device or resource busy; all "
                                                    "tunables are restored; delete it"));
  umount2(file_.c_str(), MNT_DETACH);
}

TEST_F(Journals, AreNoneIfTheirSessionEndsMeanwhile) {
  auto journal = std::make_unique<const JournalFile>(BeginJournal("--live", kBefore, path_));
  before_locking = [&](const std::string& path) {
    if (path == file_) {
      journal->Remove();
      journal.reset();
    }
  };
  EXPECT_EQ(Refusal(), "none: there is no such file");
  before_locking = nullptr;
  EXPECT_FALSE(journal);
}

TEST_F(Journals, DoNotFollowLinks) {
  LeaveJournal();
  fs::rename(file_, path_ + "/other");
  fs::create_symlink("other", file_);
  EXPECT_EQ(Refusal(), FoundOut(file_ + ": a symbolic link"));
  EXPECT_EQ(RefusalToBegin(), Refusal());
  EXPECT_TRUE(fs::is_symlink(file_));
  fs::remove(file_);
  fs::create_hard_link(path_ + "/other", file_);
  EXPECT_EQ(Refusal(), FoundOut(file_ + ": has another hard link"));
}

TEST_F(Journals, AreRegularFiles) {
  Open();
  ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
  EXPECT_EQ(Refusal(), FoundOut(file_ + ": not a regular file"));
  fs::remove(file_);
  fs::create_directory(file_);
  EXPECT_EQ(Refusal(), FoundOut(file_ + ": not a regular file"));
}

TEST_F(Journals, AreOfThisUserOnly) {
  LeaveJournal();
  for (const mode_t mode : {0640U, 0620U, 0610U, 0604U, 0602U, 0601U}) {
    ASSERT_EQ(chmod(file_.c_str(), mode), 0);
    EXPECT_EQ(Refusal(), FoundOut(file_ + ": other users can open this file")) << mode;
  }
  ASSERT_EQ(chmod(file_.c_str(), 0600), 0);
  EXPECT_EQ(Refusal(), "none: it was read");
  ASSERT_EQ(mount(foreign.File().c_str(), file_.c_str(), nullptr, MS_BIND, nullptr), 0);
  EXPECT_EQ(Refusal(), FoundOut(file_ + ": belongs to user 65534"));
  umount2(file_.c_str(), MNT_DETACH);
}

TEST_F(Journals, AreWholeAndNotLong) {
  LeaveJournal();
  const std::string text = Content(file_);
  std::ofstream(file_) << text.substr(0, text.size() - 1);
  EXPECT_EQ(Refusal(), FoundOut(file_ + ": damaged or incomplete"));
  fs::resize_file(file_, 0);
  EXPECT_EQ(Refusal(), FoundOut(file_ + ": not a journal that this version of kaehost knows"));
  fs::resize_file(file_, 65536);
  EXPECT_EQ(Refusal(), FoundOut(file_ + ": not a journal that this version of kaehost knows"));
  fs::resize_file(file_, 65537);
  EXPECT_EQ(Refusal(), FoundOut(file_ + ": longer than any journal"));
}

TEST_F(Journals, AreOfThisBoot) {
  devhost::Journal journal = devhost::NewJournal("--live", kBefore);
  journal.boot += '0';
  LeaveJournal();
  std::ofstream(file_) << TextOf(journal);
  EXPECT_THAT(Refusal(), StartsWith(file_ + ": a journal from before the last boot"));
}

TEST_F(Journals, AreReplacedIfTheyAreUnfinished) {
  Open();
  std::ofstream(file_ + ".new") << "kaehost";
  EXPECT_THAT(Open().Names(), IsEmpty());
  EXPECT_EQ(RefusalToBegin(), "none");
  EXPECT_EQ(Refusal(), "none: it was read");
  EXPECT_FALSE(fs::exists(file_ + ".new"));
}

TEST_F(Journals, LieInARealFolder) {
  fs::create_directory(folder_.Path("real"));
  fs::create_symlink("real", path_);
  EXPECT_EQ(RefusalToBegin(),
            path_ +
                ": cannot open this folder: Not a directory; find out who made it, then "
                "delete it");
  EXPECT_THAT([&] { JournalFolder::Open(path_); },
              ThrowsMessage<NamespaceError>(StartsWith(path_ + ": cannot open this folder")));
  EXPECT_TRUE(fs::is_empty(folder_.Path("real")));
}

TEST_F(Journals, LieInAFolderOfThisUserOnly) {
  Open();
  for (const mode_t mode : {0720U, 0702U, 01777U}) {
    ASSERT_EQ(chmod(path_.c_str(), mode), 0);
    EXPECT_EQ(RefusalToBegin(), FoundOut(path_ + ": other users can write this folder")) << mode;
  }
  EXPECT_THAT(
      [] { JournalFolder::Open(foreign.Folder()); },
      ThrowsMessage<NamespaceError>(FoundOut(foreign.Folder() + ": belongs to user 65534")));
}

TEST_F(Journals, NeedAFolderThatCanBeCreated) {
  const std::string missing = folder_.Path("no/kaehost");
  EXPECT_THAT(
      [&] { BeginJournal("--live", kBefore, missing); },
      ThrowsMessage<NamespaceError>(
          missing +
          ": cannot create this folder for the original values: No such file or directory; nothing "
          "was written to the tunables; make /run writable (mount -t tmpfs tmpfs /run), or go "
          "without a journal by --no-journal"));
}

TEST_F(Journals, AreNotWrittenIfTheyCouldNotBeRead) {
  const auto refused = ThrowsMessage<NamespaceError>(
      file_ +
      ": cannot keep the original values: the name of the network namespace or a value contains a "
      "line break; nothing was written to the tunables; remove the line break, or go without a "
      "journal by --no-journal");
  EXPECT_THAT([&] { BeginJournal("--netns two\nlines", kBefore, path_); }, refused);
  EXPECT_THAT([&] { BeginJournal("--live", {{"ipv4/tcp_sack", {"1\n0"}}}, path_); }, refused);
  EXPECT_TRUE(fs::is_empty(path_));
}

TEST_F(Journals, LeaveNothingOnAFullDisk) {
  Open();
  ASSERT_EQ(mount("tmpfs", path_.c_str(), "tmpfs", 0, "size=4k,mode=700"), 0);
  std::ofstream(path_ + "/filler") << std::string(4096, 'x');
  EXPECT_THAT(RefusalToBegin(), StartsWith(file_ + ": cannot write the journal of the original "
                                                   "values: No space left on device; nothing was "
                                                   "written"));
  EXPECT_THAT(Open().Names(), IsEmpty());
  EXPECT_FALSE(fs::exists(file_ + ".new"));
  umount2(path_.c_str(), MNT_DETACH);
}

TEST_F(Journals, LeaveNothingIfOnlyAPartFitsIntoALimit) {
  Open();
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before = {};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit limit = {100, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
  const std::string refusal = RefusalToBegin();
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, SIG_DFL);
  EXPECT_THAT(refusal, HasSubstr("original values: File too large; nothing was written"));
  EXPECT_TRUE(fs::is_empty(path_));
}

TEST_F(Journals, AreNotBegunByTwoAtTheSameTime) {
  auto folder = std::make_unique<const JournalFolder>(Open());
  const pid_t child = fork();
  if (child == 0) {
    folder.reset();  // this process has its lock too
    _exit(RefusalToBegin() == "none" ? 0 : 1);
  }
  usleep(100'000);
  EXPECT_FALSE(fs::exists(file_));
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, WNOHANG), 0);
  folder.reset();
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST_F(Journals, AreNotWaitedForForEver) {
  const auto folder = Open();
  EXPECT_EQ(RefusalToBegin(),
            path_ + ": another process of kaehost keeps this folder locked; continue or end it");
}
