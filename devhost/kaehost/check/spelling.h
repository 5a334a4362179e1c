#pragma once

#include <string>
#include <string_view>

namespace devhost {

// Answers what to do about the name of an element that the plug-in does not know, the nearest known
// name offered where there is one that may have been meant: "unknown element, did you mean
// tcp_sack?"
std::string AboutUnknownElement(std::string_view name);

}  // namespace devhost
