#pragma once

#include <span>
#include <string>
#include <string_view>

namespace devhost {

// An element that the plug-in knows. The development host meets the plug-in as a loaded library
// only, so it has this knowledge for itself; a test holds it against the library as it was built.
struct CatalogueEntry {
  const char* element;
  const char* file;  // below /proc/sys/net
  const char* default_value;
  int position;  // which of the file's values the element stands for, from 0
  bool imposed;  // whether a layer's first request writes the default unless a document says else
};

// All entries, in the order in which the plug-in writes them; those of one file lie side by side.
std::span<const CatalogueEntry> Catalogue();

// Answers the entry of the element, null for a name that the plug-in does not know.
const CatalogueEntry* FindInCatalogue(std::string_view element);

// Returns why no kernel accepts the number for this entry and what to do, empty if some kernel may
// accept it. Many kernels accept less; `kaehost apply` shows what this kernel does with the number.
std::string AboutNumber(const CatalogueEntry& entry, bool is_negative,
                        unsigned long long magnitude);

}  // namespace devhost
