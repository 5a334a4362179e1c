#include "devhost/kaehost/settings_document.h"

namespace devhost {

std::string SettingsDocument(const std::map<const CatalogueEntry*, Integer>& values) {
  std::string text = "<tcp-settings>\n";
  for (const auto& [entry, value] : values) {
    text.append("  <").append(entry->element).append(">").append(Decimal(value));
    text.append("</").append(entry->element).append(">\n");
  }
  return text + "</tcp-settings>\n";
}

}  // namespace devhost
