#include "devhost/kaehost/import/report.h"

#include <iostream>

#include "devhost/kaehost/text/numbers.h"
#include "devhost/kaehost/text/quoting.h"

namespace devhost {

void Tell(const Imported& imported, bool quiet) {
  constexpr std::size_t kLongestKey = 100;
  for (const NotCarried& line : imported.not_carried) {
    std::cerr << line.file << ':' << line.line << ": " << Shown(line.key, kLongestKey) << ": "
              << line.sentence << '\n';
  }
  const auto imposed = imported.Imposed();
  if (quiet || imposed.empty()) {
    return;
  }
  std::cerr << "kaehost: not named, so the plug-in will write its defaults:";
  for (const CatalogueEntry* entry : imposed) {
    std::cerr << ' ' << entry->element << '=' << entry->default_value;
  }
  std::cerr << '\n';
}

Json ToJson(const Imported& imported, int status) {
  Json json;
  json["error"] = nullptr;
  json["document"] = imported.Document();
  json["elements"] = Json::object();
  for (const auto& [entry, value] : imported.values) {
    json["elements"][entry->element] = value;
  }
  json["not_carried"] = Json::array();
  for (const NotCarried& line : imported.not_carried) {
    json["not_carried"].push_back({
        {"file",     line.file    },
        {"line",     line.line    },
        {"key",      line.key     },
        {"sentence", line.sentence}
    });
  }
  json["defaults"] = Json::object();
  for (const CatalogueEntry* entry : imported.Imposed()) {
    json["defaults"][entry->element] = Number(entry->default_value).value_or(0);
  }
  json["status"] = status;
  return json;
}

}  // namespace devhost
