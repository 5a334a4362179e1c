#pragma once

#include <string>
#include <vector>

#include "devhost/libe/document.h"

namespace devhost {

// What is to be mended in a document, in one sentence that says what to do.
struct Finding {
  Position position;
  std::string sentence;
};

// Answers what of a document the plug-in would pass over, and which values are not as the kernel is
// to have them, in the order of the file.
std::vector<Finding> FindingsIn(const Document& document);

}  // namespace devhost
