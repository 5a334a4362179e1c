#include "devhost/kaehost/changes.h"

#include <nlohmann/json.hpp>

namespace devhost {

Table TableOf(const std::vector<Change>& changes) {
  Table table({"tunable", "before", "now"});
  for (const Change& change : changes) {
    table.Add({change.tunable, change.before, change.after});
  }
  return table;
}

Json ToJson(const std::vector<Change>& changes) {
  Json json = Json::array();
  for (const Change& change : changes) {
    json.push_back({
        {"tunable", change.tunable},
        {"before",  change.before },
        {"now",     change.after  }
    });
  }
  return json;
}

}  // namespace devhost
