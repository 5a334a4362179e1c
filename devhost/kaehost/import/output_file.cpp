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
  throw std::runtime_error(path + ": cannot be written: " + std::strerror(errno));
}

void WriteAsItIs(const std::string& path, const std::string& text) {
  if (!(std::ofstream(path) << text).flush()) {
    Refuse(path);
  }
}

// The mode that the file has, or that a new one gets.
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

// The file that is meant, where links lead to one, which need not be there yet.
fs::path TargetOf(fs::path path) {
  constexpr int kMostLinks = 40;  // as the kernel follows
  std::error_code no_such_file;
  for (int i = 0; i < kMostLinks && fs::is_symlink(path, no_such_file); ++i) {
    path = path.parent_path() / fs::read_symlink(path);
  }
  return fs::weakly_canonical(path, no_such_file);
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
  const int fd = mkstemp(beside.data());
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
