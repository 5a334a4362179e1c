#include "devhost/kaehost/import/output_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace devhost {
namespace {

[[noreturn]] void Refuse(const std::string& path) {
  throw std::runtime_error(path + ": cannot write: " + std::strerror(errno));
}

void WriteAsItIs(const std::string& path, const std::string& text) {
  if (!(std::ofstream(path) << text).flush()) {
    Refuse(path);
  }
}

// Returns the mode of the file, or the mode of a new file if it does not exist.
mode_t ModeOf(const std::string& path) {
  constexpr mode_t kNew = 0666;
  constexpr mode_t kPermissions = 0777;
  struct stat status = {};
  if (stat(path.c_str(), &status) == 0) {
    return status.st_mode & kPermissions;
  }
  const mode_t mask = umask(0);
  umask(mask);
  return kNew & ~mask;
}

// Returns the file that a link or a chain of links leads to. It need not exist. Returns an empty
// path, with ELOOP in errno, if there are more links than the kernel follows.
fs::path TargetOf(fs::path path) {
  constexpr int kMostLinks = 40;
  std::error_code no_such_file;
  for (int links = 0; fs::is_symlink(path, no_such_file); ++links) {
    if (links == kMostLinks) {
      errno = ELOOP;
      return {};
    }
    path = path.parent_path() / fs::read_symlink(path);
  }
  return path;
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
  return fsync(fd) == 0;
}

}  // namespace

void WriteWhole(const std::string& path, const std::string& text) {
  std::error_code no_such_file;
  if (fs::exists(path, no_such_file) && !fs::is_regular_file(path)) {
    WriteAsItIs(path, text);
    return;
  }
  const std::string target = TargetOf(path);
  std::string beside = target + ".XXXXXX";
  const int fd = target.empty() ? -1 : mkstemp(beside.data());
  if (fd < 0) {
    Refuse(path);
  }
  const bool written = WriteAll(fd, text) && fchmod(fd, ModeOf(target)) == 0 &&
                       std::rename(beside.c_str(), target.c_str()) == 0;
  const int error = errno;
  close(fd);
  if (!written) {
    unlink(beside.c_str());
    errno = error;
    Refuse(path);
  }
}

}  // namespace devhost
