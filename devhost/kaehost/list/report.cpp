#include "devhost/kaehost/list/report.h"

#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>

#include "devhost/kaehost/settings_document.h"
#include "devhost/kaehost/text/colour.h"
#include "devhost/kaehost/text/numbers.h"
#include "devhost/kaehost/text/output.h"
#include "devhost/kaehost/text/quoting.h"
#include "devhost/kaehost/text/table.h"

namespace devhost {
namespace {

std::string NowOf(const ListedElement& element) {
  return element.now ? *element.now : element.is_missing() ? "missing" : "unread";
}

}  // namespace

void TellTable(const std::vector<ListedElement>& elements) {
  Table table({"element", "now", "default", "imposed", "namespace", "use"});
  for (const ListedElement& element : elements) {
    const CatalogueEntry& entry = *element.entry;
    table.Add({entry.element, NowOf(element), entry.default_value, entry.imposed ? "yes" : "-",
               element.network_namespace, element.use},
              element.now ? std::optional<Colour>() : Colour::kYellow);
  }
  table.Print(Out());
}

void TellEach(const std::vector<ListedElement>& elements) {
  for (const ListedElement& element : elements) {
    const CatalogueEntry& entry = *element.entry;
    Out() << entry.element << ": " << element.use << '\n'
          << "  file       " << entry.file << ", value " << entry.position + 1 << " of "
          << element.values_in_file << '\n'
          << "  now        " << Shown(NowOf(element), 60) << '\n'
          << "  default    " << entry.default_value
          << (entry.imposed ? "; the first request writes it\n" : "\n") << "  namespace  "
          << element.network_namespace << '\n'
          << "  since      " << element.since << '\n'
          << "  until      " << element.until << '\n';
  }
}

void TellUnread(const std::vector<ListedElement>& elements) {
  for (const ListedElement& element : elements) {
    if (element.error != 0) {
      TellError(std::string(element.entry->element) + ": /proc/sys/net/" + element.entry->file +
                ": cannot be read: " + std::strerror(element.error));
    }
  }
}

// The kernel has integers in all files; only a scratch file can have another text.
std::string DocumentOf(const std::vector<ListedElement>& elements) {
  std::map<const CatalogueEntry*, Integer> values;
  for (const ListedElement& element : elements) {
    if (const auto value = ReadInteger(element.now.value_or(""))) {
      values[element.entry] = *value;
    }
  }
  return SettingsDocument(values);
}

Json ToJson(const std::vector<ListedElement>& elements, int status) {
  Json json = Json::object();
  json["error"] = nullptr;
  json["elements"] = Json::array();
  for (const ListedElement& element : elements) {
    const CatalogueEntry& entry = *element.entry;
    Json& listed = json["elements"].emplace_back(Json::object());
    listed["element"] = entry.element;
    listed["file"] = entry.file;
    listed["position"] = entry.position;
    listed["now"] = element.now ? Json(*element.now) : Json();
    listed["unread"] = element.error != 0 ? Json(std::strerror(element.error)) : Json();
    listed["default"] = entry.default_value;
    listed["imposed"] = entry.imposed;
    listed["namespace"] = element.network_namespace;
    listed["since"] = element.since;
    listed["until"] = element.until;
    listed["use"] = element.use;
  }
  json["status"] = status;
  return json;
}

}  // namespace devhost
