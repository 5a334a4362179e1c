#include "devhost/kaehost/validate/tunable_view.h"

#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/validate/test.h"

namespace fs = std::filesystem;

namespace devhost {
namespace {

constexpr const char* kTunables = "/proc/sys/net/ipv4";
// A folder of /proc that nothing uses meanwhile.
constexpr const char* kScratch = "/proc/fs";
const fs::path kKernel = fs::path(kScratch) / "kernel";
const fs::path kReadOnly = fs::path(kScratch) / "read_only";

void OrSkip(bool done) {
  if (!done) {
    throw Skipped{std::string("cannot mount a view over the tunables: ") + std::strerror(errno)};
  }
}

void Bind(const fs::path& source, const fs::path& target) {
  OrSkip(mount(source.c_str(), target.c_str(), "none", MS_BIND | MS_REC, nullptr) == 0);
}

// In a file system in memory, opening a missing file for writing would create it.
void LinkToNowhere(const fs::path& link) { fs::create_symlink("nowhere" / link.filename(), link); }

// Some of a mount's flags are locked, and have to stay.
unsigned long KeptFlags(const fs::path& path) {
  struct statvfs found = {};
  statvfs(path.c_str(), &found);
  return found.f_flag & (MS_NOSUID | MS_NODEV | MS_NOEXEC);
}

}  // namespace

TunableView::TunableView() {
  OrSkip(mount("tmpfs", kScratch, "tmpfs", 0, nullptr) == 0);
  for (const fs::path& folder : {kKernel, kReadOnly, view_}) {
    OrSkip(mkdir(folder.c_str(), 0755) == 0);
  }
  Bind(kTunables, kKernel);
  Bind(kTunables, kReadOnly);
  OrSkip(mount("none", kReadOnly.c_str(), "none",
               MS_BIND | MS_REMOUNT | MS_RDONLY | KeptFlags(kReadOnly), nullptr) == 0);
  for (const auto& entry : fs::directory_iterator(kKernel)) {
    fs::create_symlink(entry.path(), view_ / entry.path().filename());
  }
  for (const CatalogueEntry& entry : Catalogue()) {
    const fs::path file = entry.file;
    if (file.parent_path() == "ipv4" && !fs::exists(fs::symlink_status(view_ / file.filename()))) {
      LinkToNowhere(view_ / file.filename());
    }
  }
  Bind(view_, kTunables);
}

void TunableView::Remove(const std::string& name) {
  fs::remove(view_ / name);
  LinkToNowhere(view_ / name);
}

void TunableView::PutBack(const std::string& name) {
  fs::remove(view_ / name);
  fs::create_symlink(kKernel / name, view_ / name);
}

void TunableView::MakeReadOnly(const std::string& name) {
  fs::remove(view_ / name);
  fs::create_symlink(kReadOnly / name, view_ / name);
}

void TunableView::PutDirectory(const std::string& name) {
  fs::remove(view_ / name);
  fs::create_directory(view_ / name);
}

void TunableView::PutSocket(const std::string& name) {
  fs::remove(view_ / name);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address = {AF_UNIX, {}};
  (view_ / name).string().copy(address.sun_path, sizeof address.sun_path - 1);
  OrSkip(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0);
  close(socket);
}

void TunableView::PutLoop(const std::string& name) {
  fs::remove(view_ / name);
  fs::create_symlink(name, view_ / name);
}

void TunableView::PutBelowAFile(const std::string& name) {
  fs::remove(view_ / name);
  fs::create_symlink("/proc/version/below", view_ / name);
}

void TunableView::PutScratchFile(const std::string& name, const std::string& text) {
  fs::remove(view_ / name);
  std::ofstream(view_ / name) << text;
}

std::string TunableView::ScratchText(const std::string& name) const {
  std::ifstream file(view_ / name);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace devhost
