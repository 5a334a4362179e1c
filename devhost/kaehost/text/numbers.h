#pragma once

#include <optional>
#include <string>

namespace devhost {

// Returns what the kernel reads a text as: a number, hexadecimal after 0x and octal after 0, with
// blanks around it if need be; none for anything else.
std::optional<long long> Number(const std::string& text);

// Returns why a text of which Number makes none is none, and what to do.
std::string AboutNoNumber(const std::string& text);

}  // namespace devhost
