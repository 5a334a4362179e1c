#include "devhost/kaehost/kernel/output_file.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "devhost/kaehost/kernel/file_descriptor.h"
#include "devhost/kaehost/text/quoting.h"

namespace devhost {
namespace {

constexpr mode_t kPermissions = 0777;
constexpr int kCannotKeepOwner = 255;  // greater than all error numbers

[[noreturn]] void Refuse(int error) { throw std::runtime_error(std::strerror(error)); }

FileDescriptor Opened(int fd) {
  if (fd < 0) {
    Refuse(errno);
  }
  return FileDescriptor(fd);
}

struct stat StatusOf(const FileDescriptor& file) {
  struct stat status = {};
  fstat(file.get(), &status);
  return status;
}

// What a path leads to: a name in a folder, which is kept open, so that nobody can exchange it.
struct Target {
  FileDescriptor folder;
  std::string name;
  struct stat status = {};    // zeros if there is nothing of that name
  bool is_open_file = false;  // a link of /proc, which only the kernel can follow

  bool IsThere() const { return status.st_mode != 0; }
  bool IsWrittenDirectly() const { return IsThere() && !S_ISREG(status.st_mode); }
};

bool IsInProc(const FileDescriptor& entry) {
  struct statfs found = {};
  return fstatfs(entry.get(), &found) == 0 && found.f_type == PROC_SUPER_MAGIC;
}

// The rule of the kernel's settings protected_symlinks, protected_fifos and protected_regular.
void RefuseForeignEntry(const struct stat& folder, const struct stat& entry,
                        const std::string& name) {
  const bool is_shared =
      (folder.st_mode & S_ISVTX) != 0 && (folder.st_mode & (S_IWGRP | S_IWOTH)) != 0;
  if (is_shared && entry.st_uid != geteuid() && entry.st_uid != folder.st_uid) {
    throw std::runtime_error(Quoted(name) +
                             " belongs to another user, in a sticky folder that others can write "
                             "to; name another file");
  }
}

std::string TextOf(const FileDescriptor& link) {
  std::array<char, PATH_MAX> text;
  const ssize_t size = readlinkat(link.get(), "", text.data(), text.size());
  if (size < 0) {
    Refuse(errno);
  }
  return {text.data(), static_cast<std::size_t>(size)};
}

// Follows the links at the end of the path one by one. The file that they lead to need not exist.
Target Find(std::string path) {
  constexpr int kMostLinks = 40;  // as many as the kernel follows
  constexpr int kFolder = O_PATH | O_DIRECTORY | O_CLOEXEC;
  FileDescriptor folder(AT_FDCWD);
  for (int links = 0; links <= kMostLinks; ++links) {
    const std::size_t name_begin = path.rfind('/') + 1;
    const std::string way = path.substr(0, name_begin) + '.';
    std::string name = path.substr(name_begin);
    folder = Opened(openat(folder.get(), way.c_str(), kFolder));
    if (name.empty()) {
      Refuse(EISDIR);
    }
    const int fd = openat(folder.get(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0 && errno == ENOENT) {
      return {std::move(folder), std::move(name)};
    }
    const FileDescriptor entry = Opened(fd);
    const struct stat status = StatusOf(entry);
    RefuseForeignEntry(StatusOf(folder), status, name);
    const bool is_link = S_ISLNK(status.st_mode);
    if (!is_link || IsInProc(entry)) {
      return {std::move(folder), std::move(name), status, is_link};
    }
    path = TextOf(entry);
  }
  Refuse(ELOOP);
}

bool WriteAll(int fd, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = write(fd, text.data() + written, text.size() - written);
    if (count < 0) {
      return false;
    }
    written += static_cast<std::size_t>(count);
  }
  return true;
}

void WriteDirectly(const Target& target, const std::string& text) {
  const int kind = target.is_open_file ? 0 : O_NOFOLLOW;
  const FileDescriptor file = Opened(openat(target.folder.get(), target.name.c_str(),
                                            O_WRONLY | O_APPEND | O_NOCTTY | O_CLOEXEC | kind));
  const struct stat opened = StatusOf(file);
  const bool is_the_same =
      opened.st_dev == target.status.st_dev && opened.st_ino == target.status.st_ino;
  if (!target.is_open_file && !is_the_same) {
    Refuse(ESTALE);  // somebody has exchanged it
  }
  if (!WriteAll(file.get(), text)) {
    Refuse(errno);
  }
}

// Returns whether the new file has the old one's mode, owner and group now.
bool Resemble(int fd, const struct stat& old) {
  struct stat now = {};
  fstat(fd, &now);
  const mode_t mode = old.st_mode & kPermissions;
  return ((now.st_mode & kPermissions) == mode || fchmod(fd, mode) == 0) &&
         ((now.st_uid == old.st_uid && now.st_gid == old.st_gid) ||
          fchown(fd, old.st_uid, old.st_gid) == 0);
}

bool GiveName(int fd, const Target& target, const char* name) {
  std::array<char, 32> path;
  std::snprintf(path.data(), path.size(), "/proc/self/fd/%d", fd);
  return linkat(AT_FDCWD, path.data(), target.folder.get(), name, AT_SYMLINK_FOLLOW) == 0;
}

// Writes a file without a name, if the file system has such files, so that nothing can be left of
// it; it has the name `beside` only for the moment before it is renamed. Returns an error number, 0
// if there is none. Allocates no memory.
int Replace(const Target& target, const std::string& text, const char* beside) noexcept {
  const int folder = target.folder.get();
  const mode_t mode = target.IsThere() ? 0600 : 0666;
  int fd = openat(folder, ".", O_TMPFILE | O_WRONLY, mode);
  bool has_name = fd < 0;
  if (has_name && (fd = openat(folder, beside, O_WRONLY | O_CREAT | O_EXCL, mode)) < 0) {
    return errno;
  }
  const bool is_whole = WriteAll(fd, text);
  int error = 0;
  if (is_whole && target.IsThere() && !Resemble(fd, target.status)) {
    error = kCannotKeepOwner;
  } else if (!is_whole || fsync(fd) != 0 ||
             (!has_name && !(has_name = GiveName(fd, target, beside))) ||
             renameat(folder, beside, folder, target.name.c_str()) != 0) {
    error = errno;
  }
  if (error != 0 && has_name) {
    unlinkat(folder, beside, 0);
  }
  return error;
}

// Replaces the file in a process that no signal for this process, its group or its terminal
// reaches: also after SIGKILL it comes to its end.
void ReplaceUndisturbed(const Target& target, const std::string& text) {
  if (target.IsThere() &&
      faccessat(target.folder.get(), target.name.c_str(), W_OK, AT_EACCESS) != 0) {
    Refuse(errno);
  }
  std::uint64_t number = 0;
  [[maybe_unused]] const ssize_t size = getrandom(&number, sizeof number, 0);
  const std::string beside = ".kaehost." + std::to_string(number);
  std::signal(SIGCHLD, SIG_DFL);  // if it is ignored, children end unnoticed
  const pid_t child = fork();
  if (child == 0) {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, nullptr);
    setsid();
    _exit(Replace(target, text, beside.c_str()));
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) {
    Refuse(errno);
  }
  const int error = WIFEXITED(status) ? WEXITSTATUS(status) : EINTR;
  if (error == kCannotKeepOwner) {
    throw std::runtime_error(
        "the new file cannot have the owner, group and mode of the old one; remove the old one "
        "first");
  }
  if (error != 0) {
    Refuse(error);
  }
}

}  // namespace

void WriteWhole(const std::string& path, const std::string& text) try {
  const Target target = Find(path);
  if (target.IsWrittenDirectly()) {
    WriteDirectly(target, text);
  } else {
    ReplaceUndisturbed(target, text);
  }
} catch (const std::runtime_error& why) {
  throw std::runtime_error(path + ": cannot write: " + why.what());
}

}  // namespace devhost
