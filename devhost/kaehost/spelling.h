#pragma once

#include <string>
#include <string_view>

namespace devhost {

// Returns a sentence on an element that the plug-in does not know. It suggests the element that was
// probably meant, "unknown element; did you mean tcp_sack?", or else what to do: `otherwise`.
std::string AboutUnknownElement(std::string_view name, const std::string& otherwise);

}  // namespace devhost
