#pragma once

#include <vector>

#include "devhost/kaehost/check/findings.h"

namespace devhost {

// Returns the first error that validation against the schema finds. Its sentence comes from the XML
// library and explains little, so this is for documents without other findings. Throws
// std::runtime_error if the library is missing.
std::vector<Finding> FindingsOfSchema(const Document& document);

}  // namespace devhost
