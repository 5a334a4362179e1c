#include "devhost/kaehost/import/report.h"

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "devhost/kaehost/text/characters.h"
#include "devhost/kaehost/text/output.h"
#include "devhost/kaehost/text/quoting.h"
#include "devhost/libe/document.h"

namespace devhost {
namespace {

Json ToJson(const LineReport& report) {
  return {
      {"file",     report.file    },
      {"line",     report.line    },
      {"key",      report.key     },
      {"sentence", report.sentence}
  };
}

Json ToJson(const Integer& value) {
  return value.is_negative ? Json(-static_cast<long long>(value.magnitude)) : Json(value.magnitude);
}

void TellDefaults(const std::vector<const CatalogueEntry*>& imposed) {
  if (imposed.empty()) {
    return;
  }
  Errors() << "kaehost: the files do not set these, so the plug-in will write its defaults:";
  for (const CatalogueEntry* entry : imposed) {
    Errors() << ' ' << entry->element << '=' << entry->default_value;
  }
  Errors() << '\n';
}

}  // namespace

void Tell(const Imported& imported) {
  constexpr std::size_t kLongestKey = 100;
  for (const LineReport& report : imported.reports) {
    Errors() << Visible(InputName(report.file)) << ':' << report.line << ": "
             << Shown(report.key, kLongestKey) << ": " << Visible(report.sentence) << '\n';
  }
  if (imported.not_listed > 0) {
    Errors() << "kaehost: " << imported.not_listed
             << " more lines are not listed; fix those above first\n";
  }
  TellDefaults(imported.Imposed());
  Errors().flush();
}

Json ToJson(const Imported& imported, int status) {
  Json json = Json::object();
  json["error"] = nullptr;
  json["document"] = imported.Document();
  json["elements"] = Json::object();
  for (const auto& [entry, value] : imported.values) {
    json["elements"][entry->element] = ToJson(value);
  }
  json["not_carried"] = Json::array();
  json["notes"] = Json::array();
  for (const LineReport& report : imported.reports) {
    json[report.is_imported ? "notes" : "not_carried"].push_back(ToJson(report));
  }
  json["not_listed"] = imported.not_listed;
  json["defaults"] = Json::object();
  for (const CatalogueEntry* entry : imported.Imposed()) {
    json["defaults"][entry->element] = std::stoi(entry->default_value);
  }
  json["status"] = status;
  return json;
}

}  // namespace devhost
