#include "devhost/kaehost/kernel/journal_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <utility>

#include "devhost/kaehost/kernel/file_holder.h"
#include "devhost/kaehost/kernel/journal_checks.h"

namespace devhost {
namespace {

[[noreturn]] void Refuse(const std::string& path, const std::string& what) {
  throw NamespaceError(path + ": " + what);
}

[[noreturn]] void CannotWrite(const std::string& path, const char* what) {
  Refuse(path, std::string("cannot ") + what + ": " + std::strerror(errno) +
                   "; nothing was written to the tunables; make /run writable (mount -t tmpfs "
                   "tmpfs /run), or go without a journal by --no-journal");
}

// A process has the lock for some milliseconds, unless it is stopped.
bool IsLocked(int file) {
  constexpr int kTries = 5000;
  const timespec millisecond = {0, 1'000'000};
  for (int i = 0; i < kTries; ++i) {
    if (flock(file, LOCK_EX | LOCK_NB) == 0) {
      return true;
    }
    nanosleep(&millisecond, nullptr);
  }
  return false;
}

FileDescriptor OpenFolder(const std::string& path) {
  return FileDescriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

Journal Parsed(const std::string& path, int file) {
  std::string text(kLongestJournal, '\0');
  const ssize_t size = pread(file, text.data(), text.size(), 0);
  text.resize(static_cast<std::size_t>(std::max(size, ssize_t{0})));
  try {
    return ParseJournal(text);
  } catch (const std::runtime_error& error) {
    RefuseForeign(path, error.what());
  }
}

// Returns the text of a journal that can be read from it again.
std::string CheckedText(const std::string& path, const Journal& journal) {
  std::string text = TextOf(journal);
  try {
    ParseJournal(text);
  } catch (const std::runtime_error&) {
    Refuse(
        path,
        "cannot keep the original values: the name of the network namespace or a value contains "
        "a line break; nothing was written to the tunables; remove the line break, or go without "
        "a journal by --no-journal");
  }
  return text;
}

// The process of the session can have ended before one that it started.
std::string AboutHolder(const Journal& journal, const struct stat& file) {
  const std::string session = "the session of process " + std::to_string(journal.process);
  const auto process = static_cast<pid_t>(journal.process);
  const pid_t holder = kill(process, 0) != 0 && errno == ESRCH ? HolderOf(file) : 0;
  return holder == 0 ? session : "process " + std::to_string(holder) + " of " + session;
}

// The text as one word of a shell. A backslash stays readable in a command that a sentence has in
// quotation marks.
std::string ShellWord(std::string_view text) {
  constexpr std::string_view kSpecial = "\t !\"#$&'()*;<>?[\\]^`{|}~";
  std::string word;
  for (const char character : text) {
    if (kSpecial.find(character) != std::string_view::npos) {
      word += '\\';
    }
    word += character;
  }
  return word;
}

// After a part was written, only the next write has the error.
bool WriteAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(file, text.data(), text.size());
    if (written < 0) {
      return false;
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return fsync(file) == 0;
}

}  // namespace

std::string CommandToRestore(const std::string& option) {
  const std::size_t name = std::min(option.find(' '), option.size() - 1) + 1;
  return "kaehost restore " + option.substr(0, name) + ShellWord(option.substr(name));
}

// The name can be another file's if somebody deleted this one.
void JournalFile::Remove() const {
  struct stat mine = {};
  struct stat named = {};
  fstat(file_.get(), &mine);
  if (lstat(path_.c_str(), &named) == 0 && named.st_ino == mine.st_ino &&
      named.st_dev == mine.st_dev && unlink(path_.c_str()) != 0) {
    Refuse(path_, std::string("cannot delete: ") + std::strerror(errno) +
                      "; all tunables are restored; delete it");
  }
}

std::optional<JournalFolder> JournalFolder::Open(const std::string& path) {
  FileDescriptor folder = OpenFolder(path);
  if (folder.get() < 0 && errno == ENOENT) {
    return std::nullopt;
  }
  return JournalFolder(path, std::move(folder));
}

JournalFolder JournalFolder::OpenOrCreate(const std::string& path) {
  if (mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
    CannotWrite(path, "create this folder for the original values");
  }
  return {path, OpenFolder(path)};
}

JournalFolder::JournalFolder(std::string path, FileDescriptor folder)
    : path_(std::move(path)), folder_(std::move(folder)) {
  CheckFolder(path_, folder_.get());
  if (!IsLocked(folder_.get())) {
    Refuse(path_, "another process of kaehost keeps this folder locked; continue or end it");
  }
}

std::vector<std::string> JournalFolder::Names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_)) {
    const std::string name = entry.path().filename();
    if (name.starts_with("net-") && !name.ends_with(".new")) {
      names.push_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string JournalFolder::NameHere() {
  const std::string network = NetworkAt();
  return "net-" + network.substr(network.find(':') + 1);
}

std::optional<JournalFile> JournalFolder::Read(const std::string& name) const {
  const std::string path = PathOf(name);
  FileDescriptor file(
      openat(folder_.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (file.get() < 0 && errno == ENOENT) {
    return std::nullopt;
  }
  if (file.get() < 0) {
    RefuseForeign(path, errno == ELOOP ? "a symbolic link"
                                       : std::string("cannot open: ") + std::strerror(errno));
  }
  const bool is_in_use = flock(file.get(), LOCK_EX | LOCK_NB) != 0;
  struct stat status = {};
  fstat(file.get(), &status);
  if (status.st_nlink == 0) {
    return std::nullopt;  // its session deleted it and ended after we opened it
  }
  CheckFile(path, status);
  Journal journal = Parsed(path, file.get());
  RefuseEarlierBoot(journal, path);
  if (is_in_use) {
    throw JournalInUse(path + ": in use since " + journal.started + " by " +
                       AboutHolder(journal, status) +
                       "; one session at a time can change these tunables; end that one first");
  }
  return JournalFile(path, std::move(file), std::move(journal));
}

std::optional<std::string> JournalFolder::EndFormerSession(const std::string& option) const {
  const std::optional<JournalFile> left = Read(NameHere());
  if (!left) {
    return std::nullopt;
  }
  RefuseOtherNamespace(left->journal(), left->path());
  const std::string session = "the session of process " + std::to_string(left->journal().process) +
                              ", started " + left->journal().started + ", ";
  if (!DifferencesFrom(left->journal()).empty()) {
    Refuse(left->path(), session + "ended without restoring these tunables; run '" +
                             CommandToRestore(option) + "' first");
  }
  left->Remove();
  return left->path() + ": " + session + "was killed, but no tunable differs; journal deleted";
}

// What a process that was killed here left has not been in use yet: it is written anew.
JournalFile JournalFolder::Write(const std::string& option, const Tunables& before) const {
  const std::string name = NameHere();
  const std::string unfinished = name + ".new";
  const std::string path = PathOf(name);
  Journal journal = NewJournal(option, before);
  const std::string text = CheckedText(path, journal);
  unlinkat(folder_.get(), unfinished.c_str(), 0);
  FileDescriptor file(openat(folder_.get(), unfinished.c_str(),
                             O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                             S_IRUSR | S_IWUSR));
  if (file.get() < 0 || flock(file.get(), LOCK_EX | LOCK_NB) != 0 || !WriteAll(file.get(), text) ||
      renameat(folder_.get(), unfinished.c_str(), folder_.get(), name.c_str()) != 0 ||
      fsync(folder_.get()) != 0) {
    const int error = errno;
    unlinkat(folder_.get(), unfinished.c_str(), 0);
    unlinkat(folder_.get(), name.c_str(), 0);
    errno = error;
    CannotWrite(path, "write the journal of the original values");
  }
  return {path, std::move(file), std::move(journal)};
}

}  // namespace devhost
