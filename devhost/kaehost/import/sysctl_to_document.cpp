#include "devhost/kaehost/import/sysctl_to_document.h"

#include <fnmatch.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "devhost/kaehost/import/sysctl_conf.h"
#include "devhost/kaehost/settings_document.h"
#include "devhost/kaehost/text/characters.h"
#include "devhost/kaehost/text/numbers.h"
#include "devhost/kaehost/text/quoting.h"

namespace devhost {
namespace {

using Entries = std::vector<const CatalogueEntry*>;

std::string PathOf(const CatalogueEntry& entry) { return std::string("net/") + entry.file; }

// Returns the entries of the file that the line sets, in the order of its values.
Entries EntriesOf(const SysctlLine& line) {
  Entries entries;
  for (const CatalogueEntry& entry : Catalogue()) {
    if (line.path == PathOf(entry)) {
      entries.push_back(&entry);
    }
  }
  return entries;
}

// Whether the line is a pattern that matches tunables of the catalogue.
bool IsPatternForSome(const SysctlLine& line) {
  return std::any_of(Catalogue().begin(), Catalogue().end(), [&line](const CatalogueEntry& entry) {
    return fnmatch(line.path.c_str(), PathOf(entry).c_str(), FNM_PATHNAME) == 0;
  });
}

// Returns why the tunable of the line is not found.
std::string AboutUnknown(const SysctlLine& line) {
  if (const std::string what = InvisibleIn(line.key); !what.empty()) {
    return "the key contains " + what + "; remove it";
  }
  return IsPatternForSome(line) ? "a pattern cannot be imported; write a line for each tunable"
                                : "not in the catalogue; set it in another way";
}

// Returns why the value cannot be imported, empty if it can.
std::string AboutValue(const std::string& value, const CatalogueEntry& entry) {
  if (const std::string what = InvisibleIn(value); !what.empty()) {
    return "the value contains " + what + "; remove it";
  }
  const std::optional<Integer> number = ReadInteger(value);
  if (!number) {
    return Quoted(value) + ' ' + AboutNoInteger(value);
  }
  const std::string sentence = AboutNumber(entry, number->is_negative, number->magnitude);
  return sentence.empty() ? "" : Quoted(value) + ' ' + sentence;
}

// Returns why the line cannot be imported, empty if it can.
std::string AboutLine(const SysctlLine& line, const Entries& entries) {
  if (entries.empty()) {
    return AboutUnknown(line);
  }
  if (!line.has_value) {
    return "\"=\" is missing; write KEY = VALUE";
  }
  if (line.values.empty()) {
    return "the value is missing; write one or remove the line";
  }
  for (std::size_t i = 0; i < line.values.size(); ++i) {
    const CatalogueEntry& entry = *entries[std::min(i, entries.size() - 1)];
    if (std::string sentence = AboutValue(line.values[i], entry); !sentence.empty()) {
      return sentence;
    }
  }
  if (line.values.size() > entries.size()) {
    return std::to_string(line.values.size()) + " values, but the tunable has " +
           std::to_string(entries.size()) + "; remove the extra values";
  }
  return "";
}

std::string AboutComment(const std::string& comment) {
  return "imported without the comment " + Quoted(comment) +
         "; sysctl passes comments to the kernel, so move it to a separate line";
}

}  // namespace

std::string Imported::Document() const { return SettingsDocument(values); }

Entries Imported::Imposed() const {
  Entries imposed;
  for (const CatalogueEntry& entry : Catalogue()) {
    if (entry.imposed && !values.contains(&entry)) {
      imposed.push_back(&entry);
    }
  }
  return imposed;
}

void Imported::Add(LineReport report) {
  constexpr std::size_t kMostReports = 1000;
  is_complete = is_complete && report.is_imported;
  if (reports.size() < kMostReports) {
    reports.push_back(std::move(report));
  } else {
    ++not_listed;
  }
}

Imported Import(const std::vector<std::string>& files) {
  Imported imported;
  for (const std::string& file : files) {
    for (const SysctlLine& line : ReadSysctlConf(file)) {
      const Entries entries = EntriesOf(line);
      if (const std::string sentence = AboutLine(line, entries); !sentence.empty()) {
        imported.Add({file, line.number, line.key, false, sentence});
        continue;
      }
      for (std::size_t i = 0; i < line.values.size(); ++i) {
        imported.values[entries[i]] = *ReadInteger(line.values[i]);
      }
      if (!line.comment.empty()) {
        imported.Add({file, line.number, line.key, true, AboutComment(line.comment)});
      }
    }
  }
  return imported;
}

}  // namespace devhost
