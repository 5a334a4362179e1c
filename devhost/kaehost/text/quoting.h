#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace devhost {

// Returns a text of unknown origin as a part of one line: at most `longest` bytes of it, with a
// space for white space, and a name for each other character that terminals execute.
std::string Shown(std::string_view text, std::size_t longest);

// Returns the same, short and in quotation marks.
std::string Quoted(std::string_view text);

}  // namespace devhost
