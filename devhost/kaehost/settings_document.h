#pragma once

#include <map>
#include <string>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/text/numbers.h"

namespace devhost {

// Returns a document that names the values, one element a line in the catalogue's order.
std::string SettingsDocument(const std::map<const CatalogueEntry*, Integer>& values);

}  // namespace devhost
