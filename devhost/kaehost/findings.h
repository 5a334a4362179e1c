#pragma once

#include <string>
#include <vector>

#include "devhost/libe/document.h"

namespace devhost {

// What is to be mended in a document, in one sentence that says what to do.
struct Finding {
  Position place;
  std::string sentence;
};

// Answers what of a document the plug-in would pass over, and which values are not as the kernel is
// to have them, in the order of the file.
std::vector<Finding> FindingsIn(const Document& document);

// Answers the first thing in a document that the schema does not allow, in the words of the
// schema's library, which say little: for documents in which nothing else is found.
std::vector<Finding> FindingsOfSchema(const Document& document);

}  // namespace devhost
