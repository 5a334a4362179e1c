#include "devhost/kaehost/list/listing.h"

#include <iterator>
#include <map>

#include "devhost/kaehost/kernel/tunables.h"
#include "devhost/kaehost/list/page_rows.h"

namespace devhost {

std::vector<ListedElement> ListElements() {
  const Tunables tunables = ReadTunables();
  std::map<std::string, int> values_in;
  for (const CatalogueEntry& entry : Catalogue()) {
    ++values_in[entry.file];
  }
  std::vector<ListedElement> elements;
  for (const PageRow& row : kPageRows) {
    const CatalogueEntry& entry = Catalogue()[elements.size()];
    ListedElement element = {.entry = &entry,
                             .network_namespace = row.network_namespace,
                             .since = row.since,
                             .until = row.until,
                             .use = row.use,
                             .values_in_file = values_in[entry.file],
                             .now = {}};
    const auto found = tunables.find(entry.file);
    if (found != tunables.end()) {
      element.error = found->second.error;
      if (element.error == 0) {
        element.now = ValueAt(entry.position, found->second.text);
      }
    }
    elements.push_back(element);
  }
  return elements;
}

}  // namespace devhost
