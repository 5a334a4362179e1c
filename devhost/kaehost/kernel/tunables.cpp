#include "devhost/kaehost/kernel/tunables.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/kernel/file_descriptor.h"

namespace devhost {
namespace {

// The kernel gives such a short text in one piece.
Reading ReadFile(int file) {
  Reading reading;
  std::array<char, 4096> piece;
  ssize_t size = 0;
  do {
    size = read(file, piece.data(), piece.size());
    reading.text.append(piece.data(), static_cast<std::size_t>(std::max(size, ssize_t{0})));
  } while (size == static_cast<ssize_t>(piece.size()) || (size < 0 && errno == EINTR));
  if (size < 0) {
    return {"", errno};
  }
  if (reading.text.ends_with('\n')) {
    reading.text.pop_back();
  }
  return reading;
}

// Returns none if there is no file.
std::optional<Reading> ReadFile(int folder, const char* name) {
  const FileDescriptor file(openat(folder, name, O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) {
    return errno == ENOENT ? std::nullopt : std::optional(Reading{"", errno});
  }
  return ReadFile(file.get());
}

std::string PathOf(const std::string& name) { return "/proc/sys/net/" + name; }

// Returns whether the file could be opened. What the kernel refuses, stays.
bool Write(const std::string& name, const std::string& text) {
  const FileDescriptor file(
      open(PathOf(name).c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC | O_NONBLOCK));
  const std::string line = text + '\n';
  [[maybe_unused]] const ssize_t written = write(file.get(), line.data(), line.size());
  return file.get() >= 0;
}

// Returns the readings of the tunable before and after, null where there is no file, by name.
using Pair = std::pair<const Reading*, const Reading*>;
std::map<std::string, Pair> PairsOf(const Tunables& before, const Tunables& after) {
  std::map<std::string, Pair> pairs;
  for (const auto& [name, reading] : before) {
    pairs[name].first = &reading;
  }
  for (const auto& [name, reading] : after) {
    pairs[name].second = &reading;
  }
  return pairs;
}

bool IsUnread(const Reading* reading) { return reading != nullptr && reading->error != 0; }

std::string TextOf(const Reading* reading) { return reading != nullptr ? reading->text : ""; }

// Between values, the kernel has tabs. A scratch file has them too at first, but then the spaces
// that a layer writes.
bool HaveSameValues(const std::string& one, const std::string& other) {
  if (one == other) {
    return true;
  }
  std::istringstream first(one);
  std::istringstream second(other);
  using Words = std::istream_iterator<std::string>;
  return std::equal(Words(first), Words(), Words(second), Words());
}

}  // namespace

bool Reading::is_refused() const { return error == EACCES || error == EPERM; }

std::string ValueAt(int position, const std::string& text) {
  constexpr const char* kBlanks = " \t\n";
  std::size_t begin = text.find_first_not_of(kBlanks);
  for (int i = 0; i < position && begin != std::string::npos; ++i) {
    begin = text.find_first_not_of(kBlanks, text.find_first_of(kBlanks, begin));
  }
  return begin == std::string::npos
             ? ""
             : text.substr(begin, text.find_first_of(kBlanks, begin) - begin);
}

Tunables ReadTunables() {
  Tunables tunables;
  // Nearly all files lie there: looked up from above, each takes a quarter more time.
  constexpr std::string_view kFolder = "/proc/sys/net/ipv4/";
  const FileDescriptor folder(open(kFolder.data(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  const char* file = "";
  for (const CatalogueEntry& entry : Catalogue()) {
    if (std::strcmp(std::exchange(file, entry.file), entry.file) == 0) {
      continue;  // the values of a file follow one another
    }
    const std::string path = PathOf(file);
    const bool is_below = folder.get() >= 0 && path.starts_with(kFolder);
    const std::size_t begin = is_below ? kFolder.size() : 0;
    if (std::optional<Reading> reading = ReadFile(folder.get(), path.c_str() + begin)) {
      tunables[file] = std::move(*reading);
    }
  }
  return tunables;
}

Tunables ReadOtherTunables() {
  Tunables tunables;
  for (const std::string folder : {"core/", "ipv4/", "ipv6/"}) {
    std::error_code absent;
    for (const auto& entry : std::filesystem::directory_iterator(PathOf(folder), absent)) {
      const std::string name = folder + entry.path().filename().string();
      std::optional<Reading> reading = ReadFile(AT_FDCWD, entry.path().c_str());
      if (reading && reading->error == 0 && name != "ipv4/ping_group_range") {
        tunables[name] = std::move(*reading);
      }
    }
  }
  for (const CatalogueEntry& entry : Catalogue()) {
    tunables.erase(entry.file);
  }
  return tunables;
}

std::vector<std::string> StartFrom(const Tunables& machine, Tunables& here) {
  std::vector<std::string> differ;
  for (auto& [name, own] : here) {
    const auto wanted = machine.find(name);
    if (wanted == machine.end() || wanted->second == own) {
      continue;
    }
    const Reading& reading = wanted->second;
    if (reading.error == 0 && !Write(name, reading.text)) {
      continue;  // the namespace has it read-only
    }
    own = ReadFile(AT_FDCWD, PathOf(name).c_str()).value_or(own);
    if (own != reading) {
      differ.push_back(name);
    }
  }
  return differ;
}

std::vector<Change> Compare(const Tunables& before, const Tunables& after) {
  std::vector<Change> changes;
  for (const auto& [name, pair] : PairsOf(before, after)) {
    const auto& [one, other] = pair;
    if (!IsUnread(one) && !IsUnread(other) && !HaveSameValues(TextOf(one), TextOf(other))) {
      changes.push_back({name, TextOf(one), TextOf(other)});
    }
  }
  return changes;
}

std::vector<Unread> FindUnread(const Tunables& before, const Tunables& after) {
  std::vector<Unread> unread;
  for (const auto& [name, pair] : PairsOf(before, after)) {
    const auto& [one, other] = pair;
    if (IsUnread(one) || IsUnread(other)) {
      const auto is_refused = [](const Reading* r) { return r == nullptr || r->is_refused(); };
      unread.push_back({name, IsUnread(other) ? other->error : one->error,
                        is_refused(one) && is_refused(other)});
    }
  }
  return unread;
}

// Twice, because the kernel checks some values against others.
std::vector<Change> Restore(const Tunables& before) {
  std::vector<Change> changes = Compare(before, ReadTunables());
  for (int i = 0; i < 2; ++i) {
    for (const Change& change : changes) {
      Write(change.tunable, change.before);
    }
  }
  return changes;
}

}  // namespace devhost
