#include "devhost/kaehost/whole_catalogue.h"

#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string_view>

#include "devhost/kaehost/catalogue.h"
#include "devhost/kaehost/sandbox.h"

namespace fs = std::filesystem;

namespace devhost {
namespace {

// Where the view is put together: a folder of /proc that nobody misses meanwhile.
constexpr const char* kView = "/proc/fs";
constexpr const char* kTunables = "/proc/sys/net";

void Mount(const char* type, const fs::path& source, const fs::path& target, unsigned long flags) {
  if (mount(source.c_str(), target.c_str(), type, flags, nullptr) != 0) {
    throw NamespaceError("no view with the whole catalogue to be had: " + target.string() + ": " +
                         std::strerror(errno) + "; leave out --whole-catalogue");
  }
}

// The view's names are the kernel's, each bound to what bears it there.
void BindAll(const fs::path& folder) {
  fs::create_directory(kView / folder);
  for (const auto& entry : fs::directory_iterator(kTunables / folder)) {
    const fs::path target = kView / folder / entry.path().filename();
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

}  // namespace

std::vector<std::string> ShowWholeCatalogue() {
  Mount("tmpfs", "tmpfs", kView, 0);
  for (const char* folder : {"ipv4", "core"}) {
    BindAll(folder);
  }
  std::vector<std::string> emulated;
  for (const auto& [file, text] : DefaultTexts()) {
    if (!fs::exists(kView / fs::path(file))) {
      std::ofstream(kView / fs::path(file)) << text << '\n';
      emulated.emplace_back(file);
    }
  }
  for (const char* folder : {"ipv4", "core"}) {
    Mount("none", kView / fs::path(folder), kTunables / fs::path(folder), MS_BIND | MS_REC);
  }
  umount2(kView, MNT_DETACH);
  return emulated;
}

}  // namespace devhost
