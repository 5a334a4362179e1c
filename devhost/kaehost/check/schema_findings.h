#pragma once

#include <vector>

#include "devhost/kaehost/check/findings.h"

namespace devhost {

// Answers the first thing in a document that the schema does not allow, in the words of the
// schema's library, which say little: for documents in which nothing else is found.
std::vector<Finding> FindingsOfSchema(const Document& document);

}  // namespace devhost
