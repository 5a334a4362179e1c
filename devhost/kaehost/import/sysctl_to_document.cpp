#include "devhost/kaehost/import/sysctl_to_document.h"

#include <fnmatch.h>

#include <algorithm>
#include <iterator>
#include <optional>

#include "devhost/kaehost/import/sysctl_conf.h"
#include "devhost/kaehost/text/numbers.h"
#include "devhost/kaehost/text/quoting.h"

namespace devhost {
namespace {

using Entries = std::vector<const CatalogueEntry*>;

std::string PathOf(const CatalogueEntry& entry) { return std::string("net/") + entry.file; }

// The entries of the file that a line is about, first value first.
Entries EntriesOf(const SysctlLine& line) {
  Entries entries;
  for (const CatalogueEntry& entry : Catalogue()) {
    if (line.path == PathOf(entry)) {
      entries.push_back(&entry);
    }
  }
  return entries;
}

// Whether the line sets tunables of the catalogue by a pattern.
bool IsPatternForSome(const SysctlLine& line) {
  return std::any_of(Catalogue().begin(), Catalogue().end(), [&line](const CatalogueEntry& entry) {
    return fnmatch(line.path.c_str(), PathOf(entry).c_str(), FNM_PATHNAME) == 0;
  });
}

// Answers why the value cannot be carried, empty where it can.
std::string AboutValue(const std::string& value, const CatalogueEntry& entry) {
  if (value.front() == '#' || value.front() == ';') {
    return Quoted(value) + " begins no comment after a value; give comments lines of their own";
  }
  const std::optional<long long> number = Number(value);
  if (!number || value.front() == '+') {
    return Quoted(value) + ' ' + AboutNoNumber(value);
  }
  const std::string sentence = AboutNumber(entry, *number);
  return sentence.empty() ? "" : Quoted(value) + ' ' + sentence;
}

// Answers why the line cannot be carried, empty where it can.
std::string AboutLine(const SysctlLine& line, const Entries& entries) {
  if (entries.empty()) {
    return IsPatternForSome(line) ? "a document has no patterns; write a line for each tunable"
                                  : "the catalogue has no such tunable; set it by other means";
  }
  if (!line.has_value) {
    return "there is no \"=\" before a value; write KEY = VALUE";
  }
  if (line.values.empty()) {
    return "there is no value after \"=\"; write one or remove the line";
  }
  for (std::size_t i = 0; i < line.values.size(); ++i) {
    const CatalogueEntry& entry = *entries[std::min(i, entries.size() - 1)];
    if (std::string sentence = AboutValue(line.values[i], entry); !sentence.empty()) {
      return sentence;
    }
  }
  if (line.values.size() > entries.size()) {
    return std::to_string(line.values.size()) + " values, but the tunable has " +
           std::to_string(entries.size()) + "; remove those that are too many";
  }
  return "";
}

}  // namespace

std::string Imported::Document() const {
  std::string text = "<tcp-settings>\n";
  for (const auto& [entry, value] : values) {
    text.append("  <").append(entry->element).append(">").append(std::to_string(value));
    text.append("</").append(entry->element).append(">\n");
  }
  return text + "</tcp-settings>\n";
}

Entries Imported::Imposed() const {
  Entries imposed;
  for (const CatalogueEntry& entry : Catalogue()) {
    if (entry.imposed && !values.contains(&entry)) {
      imposed.push_back(&entry);
    }
  }
  return imposed;
}

Imported Import(const std::vector<std::string>& files) {
  Imported imported;
  for (const std::string& file : files) {
    for (const SysctlLine& line : ReadSysctlConf(file)) {
      const Entries entries = EntriesOf(line);
      const std::string sentence = AboutLine(line, entries);
      if (!sentence.empty()) {
        imported.not_carried.push_back({file, line.number, line.key, sentence});
        continue;
      }
      for (std::size_t i = 0; i < line.values.size(); ++i) {
        imported.values[entries[i]] = *Number(line.values[i]);
      }
    }
  }
  return imported;
}

}  // namespace devhost
