#include "devhost/kaehost/tunables.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <set>

namespace devhost {
namespace {

const std::string kRoot = "/proc/sys/net/";

std::string TextOf(const Tunables& tunables, const std::string& name) {
  const auto found = tunables.find(name);
  return found != tunables.end() ? found->second : std::string();
}

// Answers a file's text without its last newline, empty where the file refuses to be read, none
// where there is none. The kernel gives such a short text at once.
std::optional<std::string> ReadText(int folder, const char* name) {
  const int file = openat(folder, name, O_RDONLY | O_CLOEXEC);
  if (file < 0) {
    return errno == ENOENT ? std::nullopt : std::optional<std::string>("");
  }
  std::string text;
  std::array<char, 4096> piece;
  ssize_t size = 0;
  do {
    size = read(file, piece.data(), piece.size());
    text.append(piece.data(), static_cast<std::size_t>(std::max(size, ssize_t{0})));
  } while (size == static_cast<ssize_t>(piece.size()));
  close(file);
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

}  // namespace

std::optional<std::string> ReadTunable(const std::string& tunable) {
  return ReadText(AT_FDCWD, (kRoot + tunable).c_str());
}

Tunables ReadTunables() {
  Tunables tunables;
  for (const std::string folder : {"core", "ipv4"}) {
    const std::unique_ptr<DIR, int (*)(DIR*)> opened(opendir((kRoot + folder).c_str()), closedir);
    while (const dirent* entry = opened != nullptr ? readdir(opened.get()) : nullptr) {
      if (entry->d_type == DT_REG) {
        tunables[folder + '/' + entry->d_name] =
            ReadText(dirfd(opened.get()), entry->d_name).value_or("");
      }
    }
  }
  return tunables;
}

std::vector<Change> Compare(const Tunables& before, const Tunables& after) {
  std::set<std::string> names;
  for (const Tunables* tunables : {&before, &after}) {
    for (const auto& [name, text] : *tunables) {
      names.insert(name);
    }
  }
  std::vector<Change> changes;
  for (const std::string& name : names) {
    Change change{name, TextOf(before, name), TextOf(after, name)};
    if (change.before != change.after) {
      changes.push_back(std::move(change));
    }
  }
  return changes;
}

}  // namespace devhost
