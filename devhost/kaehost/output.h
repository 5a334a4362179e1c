#pragma once

#include <iosfwd>
#include <string>

namespace devhost {

// Standard output with a state of kaehost's own: what a plug-in does to std::cout, a failed state
// or a format, must not silence or bend what is told of it.
std::ostream& Out();

enum class Colour { kGreen, kYellow, kRed };

// Answers `text` in the colour where standard output is a terminal and NO_COLOR is not set, else as
// it is.
std::string Painted(const std::string& text, Colour colour);

}  // namespace devhost
