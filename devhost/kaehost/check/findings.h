#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "devhost/libe/document.h"

namespace devhost {

// What is wrong in a document, and what to do, in one sentence.
struct Finding {
  Position position;
  std::string sentence;
};

// A document can have millions of findings. At most this many are returned.
constexpr std::size_t kMostFindings = 1000;

// Returns, in the order of the file, what the plug-in ignores in a document, and which values are
// out of range or not plain decimal numbers. If there are more than kMostFindings, one more
// says so.
std::vector<Finding> FindingsIn(const Document& document);

}  // namespace devhost
