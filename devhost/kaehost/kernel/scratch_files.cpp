#include "devhost/kaehost/kernel/scratch_files.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string_view>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/kernel/namespaces.h"

namespace fs = std::filesystem;

namespace devhost {
namespace {

// The folder for scratch files until they are bound, and for building a view. Nothing uses this
// folder of /proc meanwhile.
constexpr const char* kScratchFolder = "/proc/fs";
constexpr const char* kTunables = "/proc/sys/net";

void Mount(const char* type, const fs::path& source, const fs::path& target, unsigned long flags) {
  if (mount(source.c_str(), target.c_str(), type, flags, nullptr) != 0) {
    throw NamespaceError("cannot show the whole catalogue: " + target.string() + ": " +
                         std::strerror(errno));
  }
}

// The view has the kernel's names. Each is bound to the kernel's file or folder of that name.
void BindAll(const fs::path& folder) {
  fs::create_directory(kScratchFolder / folder);
  for (const auto& entry : fs::directory_iterator(kTunables / folder)) {
    const fs::path target = kScratchFolder / folder / entry.path().filename();
    if (entry.is_directory()) {
      fs::create_directory(target);
    } else {
      std::ofstream{target};
    }
    Mount("none", entry.path(), target, MS_BIND | MS_REC);
  }
}

// The default contents of the catalogue's files.
std::map<std::string_view, std::string> DefaultTexts() {
  std::map<std::string_view, std::string> texts;
  for (const CatalogueEntry& entry : Catalogue()) {
    std::string& text = texts[entry.file];
    text += (text.empty() ? "" : " ") + std::string(entry.default_value);
  }
  return texts;
}

bool LayScratchFileOver(const std::string& path) {
  std::ifstream original(path);
  const std::string text((std::istreambuf_iterator<char>(original)), {});
  const std::string scratch = kScratchFolder + path.substr(path.rfind('/'));
  return (std::ofstream(scratch) << text).flush() &&
         mount(scratch.c_str(), path.c_str(), "none", MS_BIND, nullptr) == 0;
}

}  // namespace

void RefuseWhereNothingCanBeWritten(const std::string& if_denied) {
  const std::string path = std::string(kTunables) + "/ipv4/tcp_sack";
  const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  const int error = errno;
  close(fd);
  if (fd >= 0) {
    return;
  }
  std::string advice = "check that /proc/sys shows the tunables of this network namespace";
  if (error == EROFS) {
    advice =
        "/proc/sys is mounted read-only, as in most containers; start the container with a "
        "writable /proc/sys";
  } else if (error == EACCES || error == EPERM) {
    advice = if_denied;
  }
  throw NamespaceError(path + ": cannot open for writing: " + std::strerror(error) + "; " + advice);
}

bool RefusesToBeWritten(const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  const int error = errno;
  close(fd);
  return fd < 0 && error != ENOENT;
}

// The file system in memory is mounted only while the files are bound. The binds keep the files. So
// nothing else stays mounted, and no folder of the machine needs to be writable.
std::vector<std::string> MakeWritable(const std::vector<std::string>& paths) {
  std::vector<std::string> emulated;
  std::copy_if(paths.begin(), paths.end(), std::back_inserter(emulated), RefusesToBeWritten);
  if (emulated.empty()) {
    return emulated;
  }
  const bool laid = mount("tmpfs", kScratchFolder, "tmpfs", 0, nullptr) == 0 &&
                    std::all_of(emulated.begin(), emulated.end(), LayScratchFileOver);
  const int error = errno;
  umount2(kScratchFolder, MNT_DETACH);
  if (!laid) {
    throw NamespaceError(
        emulated.front() +
        ": read-only, and cannot mount a scratch file over it: " + std::strerror(error));
  }
  return emulated;
}

std::vector<std::string> ShowWholeCatalogue() {
  Mount("tmpfs", "tmpfs", kScratchFolder, 0);
  for (const char* folder : {"ipv4", "core"}) {
    BindAll(folder);
  }
  std::vector<std::string> emulated;
  for (const auto& [file, text] : DefaultTexts()) {
    if (!fs::exists(kScratchFolder / fs::path(file))) {
      std::ofstream(kScratchFolder / fs::path(file)) << text << '\n';
      emulated.emplace_back(file);
    }
  }
  for (const char* folder : {"ipv4", "core"}) {
    Mount("none", kScratchFolder / fs::path(folder), kTunables / fs::path(folder),
          MS_BIND | MS_REC);
  }
  umount2(kScratchFolder, MNT_DETACH);
  return emulated;
}

}  // namespace devhost
