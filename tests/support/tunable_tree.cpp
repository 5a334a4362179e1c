#include "tests/support/tunable_tree.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace fs = std::filesystem;

namespace {

void Mount(const char* source, const std::string& target, const char* type, unsigned long flags) {
  if (mount(source, target.c_str(), type, flags, nullptr) != 0) {
    throw std::system_error(errno, std::generic_category(), "mount " + target);
  }
}

}  // namespace

TunableTree::TunableTree() {
  Mount("tmpfs", "/proc/sys/net", "tmpfs", 0);
  fs::create_directory("/proc/sys/net/ipv4");
  fs::create_directory("/proc/sys/net/core");
}

TunableTree::~TunableTree() { umount2("/proc/sys/net", MNT_DETACH); }

// Uses bare system calls, because the tests spend most of their time on files. If a file exists,
// the first call is enough.
void TunableTree::Write(const std::string& name, const std::string& text) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC;
  constexpr mode_t kMode = 0666;
  int file = open(Path(name).c_str(), kFlags, kMode);
  if (file < 0) {
    Clear(name);
    file = open(Path(name).c_str(), kFlags, kMode);
  }
  const ssize_t written = write(file, text.data(), text.size());
  close(file);
  if (written != static_cast<ssize_t>(text.size())) {
    throw std::runtime_error("cannot write " + Path(name));
  }
}

std::string TunableTree::Read(const std::string& name) const {
  const int file = open(Path(name).c_str(), O_RDONLY | O_CLOEXEC);
  std::string text;
  std::array<char, 4096> piece = {};
  ssize_t size = 0;
  while ((size = read(file, piece.data(), piece.size())) > 0) {
    text.append(piece.data(), static_cast<std::size_t>(size));
  }
  close(file);
  if (size < 0) {
    throw std::runtime_error("cannot read " + Path(name));
  }
  return text;
}

void TunableTree::MakeMissing(const std::string& name) { Link("/proc/sys/net/nowhere/file", name); }

void TunableTree::MakeFolder(const std::string& name) {
  Clear(name);
  fs::create_directory(Path(name));
}

void TunableTree::MakeLoop(const std::string& name) { Link(Path(name), name); }

void TunableTree::MakeReadOnly(const std::string& name) {
  Mount(Path(name).c_str(), Path(name), "none", MS_BIND);
  Mount("none", Path(name), "none", MS_BIND | MS_REMOUNT | MS_RDONLY);
}

void TunableTree::LinkReadOnly(const std::string& name) {
  Link(obstacles_.ReadOnlyView(Path(name)), name);
}

void TunableTree::MakeFull(const std::string& name) { Link(obstacles_.FullDevice(), name); }

void TunableTree::MakeSocket(const std::string& name) { Link(obstacles_.Socket(), name); }

void TunableTree::MakeBelowAFile(const std::string& name) { Link(obstacles_.BelowAFile(), name); }

void TunableTree::MakeRunningProgram(const std::string& name) { Link(obstacles_.Program(), name); }

void TunableTree::WriteProtect(const std::string& name) { SetMode(name, 0444); }

void TunableTree::Seal(const std::string& name) { SetMode(name, 0); }

void TunableTree::Clear(const std::string& name) {
  const std::string path = Path(name);
  if (unlink(path.c_str()) != 0 && errno != ENOENT) {
    umount2(path.c_str(), MNT_DETACH | UMOUNT_NOFOLLOW);  // of MakeReadOnly
    fs::remove(path);
  }
}

void TunableTree::Link(const std::string& target, const std::string& name) {
  Clear(name);
  fs::create_symlink(target, Path(name));
}

void TunableTree::SetMode(const std::string& name, unsigned mode) {
  if (!obeys_modes_) {
    ObeyFileModes();
    obeys_modes_ = true;
  }
  fs::permissions(Path(name), static_cast<fs::perms>(mode));
}
