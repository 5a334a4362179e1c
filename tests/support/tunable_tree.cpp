#include "tests/support/tunable_tree.h"

#include <sys/mount.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
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

void TunableTree::Write(const std::string& name, const std::string& text) {
  Clear(name);
  if (!(std::ofstream(Path(name), std::ios::binary) << text).flush()) {
    throw std::runtime_error("cannot write " + Path(name));
  }
}

std::string TunableTree::Read(const std::string& name) const {
  std::ifstream file(Path(name), std::ios::binary);
  if (!file) {
    throw std::runtime_error("cannot read " + Path(name));
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

void TunableTree::MakeMissing(const std::string& name) {
  Clear(name);
  fs::create_symlink("/proc/sys/net/nowhere/file", Path(name));
}

void TunableTree::MakeFolder(const std::string& name) {
  Clear(name);
  fs::create_directory(Path(name));
}

void TunableTree::MakeLoop(const std::string& name) {
  Clear(name);
  fs::create_symlink(Path(name), Path(name));
}

void TunableTree::MakeReadOnly(const std::string& name) {
  Mount(Path(name).c_str(), Path(name), "none", MS_BIND);
  Mount("none", Path(name), "none", MS_BIND | MS_REMOUNT | MS_RDONLY);
}

void TunableTree::MakeFull(const std::string& name) {
  Clear(name);
  fs::create_symlink("/dev/full", Path(name));
}

void TunableTree::Clear(const std::string& name) {
  umount2(Path(name).c_str(), MNT_DETACH);  // a read-only one
  fs::remove(Path(name));
}
