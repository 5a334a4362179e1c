#include "devhost/kaehost/kernel/tunables.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <set>
#include <utility>

#include "devhost/kaehost/kernel/catalogue.h"

namespace devhost {
namespace {

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

Tunables ReadTunables() {
  Tunables tunables;
  const int folder = open("/proc/sys/net", O_PATH | O_DIRECTORY | O_CLOEXEC);
  const char* file = "";
  for (const CatalogueEntry& entry : Catalogue()) {
    if (std::strcmp(std::exchange(file, entry.file), entry.file) == 0) {
      continue;  // the values of a file follow one another
    }
    if (std::optional<std::string> text = ReadText(folder, file)) {
      tunables[file] = std::move(*text);
    }
  }
  close(folder);
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
