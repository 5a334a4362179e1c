#pragma once

#include <string>
#include <string_view>

namespace devhost {

// Returns a sentence on an element that the plug-in does not know. It suggests the element that was
// probably meant, if there is one: "unknown element; did you mean tcp_sack?"
std::string AboutUnknownElement(std::string_view name);

}  // namespace devhost
