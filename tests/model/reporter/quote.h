#pragma once

#include <string>

namespace model {

// The text in double quotes on one line. Unprintable bytes are escaped; a long text has its middle
// left out.
std::string Quote(const std::string& text);

}  // namespace model
