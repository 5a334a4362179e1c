#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace devhost {

// A text that came from outside as a piece of one line, cut where it is longer than that, and
// without the bytes that a terminal takes for a command.
std::string Shown(std::string_view text, std::size_t longest);

// The same in quotation marks, short.
std::string Quoted(std::string_view text);

}  // namespace devhost
