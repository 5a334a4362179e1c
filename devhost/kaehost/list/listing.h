#pragma once

#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/catalogue.h"

namespace devhost {

// An element, and its value in this network namespace now.
struct ListedElement {
  const CatalogueEntry* entry;
  const char* network_namespace;  // "private", "global", or "-"
  const char* since;              // versions of the kernel
  const char* until;
  const char* use;
  int values_in_file;
  std::optional<std::string> now;  // none if there is no file, or it cannot be read
  int error = 0;                   // why it cannot be read

  bool is_missing() const { return !now && error == 0; }
};

// Reads the tunables of the catalogue and returns all elements, in the catalogue's order.
std::vector<ListedElement> ListElements();

}  // namespace devhost
