#pragma once

#include <optional>
#include <string>

namespace devhost {

// An integer of the kernel: a long or an unsigned long.
struct Integer {
  bool is_negative;  // not for 0
  unsigned long long magnitude;

  bool operator==(const Integer&) const = default;
};

// Returns the integer that the kernel reads in the text of a tunable with one value, with white
// space around it: decimal, hexadecimal after 0x or octal after 0, perhaps after a minus sign. None
// for any other text. A tunable can have a smaller range.
std::optional<Integer> ReadInteger(const std::string& text);

// Returns its decimal form.
std::string Decimal(const Integer& integer);

// Returns why ReadInteger reads none in a text, and what to do.
std::string AboutNoInteger(const std::string& text);

}  // namespace devhost
