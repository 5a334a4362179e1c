#pragma once

#include <string>

namespace devhost {

enum class Colour { kGreen, kYellow, kRed };

// Answers `text` in the colour where standard output is a terminal and NO_COLOR is not set, else as
// it is.
std::string Painted(const std::string& text, Colour colour);

}  // namespace devhost
