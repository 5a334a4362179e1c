#pragma once

#include <string>
#include <string_view>

namespace devhost {

// Returns what the text contains that its reader cannot see, empty if there is nothing of the kind:
// "an invisible character, U+200B", "a NUL byte".
std::string InvisibleIn(std::string_view text);

}  // namespace devhost
