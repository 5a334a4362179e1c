#include "devhost/kaehost/tunables.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <set>

namespace fs = std::filesystem;

namespace devhost {
namespace {

const std::string kRoot = "/proc/sys/net/";

std::string TextOf(const Tunables& tunables, const std::string& name) {
  const auto found = tunables.find(name);
  return found != tunables.end() ? found->second : std::string();
}

}  // namespace

std::optional<std::string> ReadTunable(const std::string& tunable) {
  const int file = open((kRoot + tunable).c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) {
    return errno == ENOENT ? std::nullopt : std::optional<std::string>("");
  }
  std::string text;
  std::array<char, 4096> piece;
  ssize_t size = 0;
  while ((size = read(file, piece.data(), piece.size())) > 0) {
    text.append(piece.data(), static_cast<std::size_t>(size));
  }
  close(file);
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

Tunables ReadTunables() {
  Tunables tunables;
  for (const char* folder : {"ipv4", "core"}) {
    for (const auto& entry : fs::directory_iterator(kRoot + folder)) {
      if (entry.is_regular_file()) {
        std::string name = entry.path().string().substr(kRoot.size());
        tunables[name] = ReadTunable(name).value_or("");
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
