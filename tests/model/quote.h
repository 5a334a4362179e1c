#pragma once

#include <string>

namespace model {

// The text in double quotes on one line, unprintable bytes escaped, the middle of a long one left
// out.
std::string Quote(const std::string& text);

}  // namespace model
