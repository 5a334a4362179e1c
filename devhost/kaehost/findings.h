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

// Answers what is to be mended in the XML file at `path` besides, of which `document` was made and
// which has no findings otherwise: attributes, which are no part of a document, and whatever else
// the schema does not allow. Throws DocumentError where the file is not what it was any more.
std::vector<Finding> FindingsOfSchema(const std::string& path, const Document& document);

}  // namespace devhost
