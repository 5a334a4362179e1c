#pragma once

#include <optional>
#include <string>

namespace devhost {

// Answers what the kernel reads a text as: a number, hexadecimal after 0x and octal after 0, with
// blanks around it if need be; none for anything else.
std::optional<long long> Number(const std::string& text);

}  // namespace devhost
