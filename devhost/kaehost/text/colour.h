#pragma once

#include <string>

namespace devhost {

enum class Colour { kGreen, kYellow, kRed };

// Returns `text` in the colour if standard output is a terminal and NO_COLOR is not set, else
// unchanged.
std::string Painted(const std::string& text, Colour colour);

}  // namespace devhost
