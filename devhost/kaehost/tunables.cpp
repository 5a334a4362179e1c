#include "devhost/kaehost/tunables.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <ostream>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

namespace devhost {
namespace {

std::string TextOf(const Tunables& tunables, const std::string& name) {
  const auto found = tunables.find(name);
  return found != tunables.end() ? found->second : std::string();
}

// A file's text without its last newline; empty for a file that only takes writes.
std::string ReadText(const fs::path& path) {
  std::ostringstream content;
  content << std::ifstream(path).rdbuf();
  std::string text = content.str();
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

// A file's text as one cell of a table.
std::string Cell(std::string text) {
  std::replace(text.begin(), text.end(), '\t', ' ');
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text.empty() ? "(empty)" : text;
}

}  // namespace

Tunables ReadTunables() {
  const fs::path root = "/proc/sys/net";
  Tunables tunables;
  for (const char* folder : {"ipv4", "core"}) {
    for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
      if (entry.is_regular_file()) {
        tunables[entry.path().lexically_relative(root)] = ReadText(entry.path());
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

void PrintTable(std::ostream& out, const std::vector<Change>& changes) {
  std::vector<Change> rows = {
      {"tunable", "before", "after"}
  };
  std::size_t name_width = 0;
  std::size_t before_width = 0;
  for (const Change& change : changes) {
    rows.push_back({change.tunable, Cell(change.before), Cell(change.after)});
  }
  for (const Change& row : rows) {
    name_width = std::max(name_width, row.tunable.size());
    before_width = std::max(before_width, row.before.size());
  }
  for (const Change& row : rows) {
    out << "  " << std::left << std::setw(static_cast<int>(name_width)) << row.tunable << "  "
        << std::setw(static_cast<int>(before_width)) << row.before << "  " << row.after << '\n';
  }
}

}  // namespace devhost
