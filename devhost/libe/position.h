#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace devhost {

// A place in a file, both from 1. Columns are in characters.
struct Position {
  int line;
  int column;
};

// Answers how many characters some UTF-8 has.
inline int Characters(std::string_view text) {
  return static_cast<int>(
      std::count_if(text.begin(), text.end(), [](char byte) { return (byte & '\xc0') != '\x80'; }));
}

// Answers where `text` begins that ends at `end`, and before which `before` stands: as much as is
// known of it.
inline Position BeginOf(std::string_view text, Position end, std::string_view before) {
  const auto newlines = static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  if (newlines == 0) {
    return {end.line, end.column - Characters(text)};
  }
  return {end.line - newlines, Characters(before.substr(before.rfind('\n') + 1)) + 1};
}

// Answers where what follows `text` is, which begins at `begin`.
inline Position EndOf(std::string_view text, Position begin) {
  const std::size_t newline = text.rfind('\n');
  if (newline == std::string_view::npos) {
    return {begin.line, begin.column + Characters(text)};
  }
  return {begin.line + static_cast<int>(std::count(text.begin(), text.end(), '\n')),
          Characters(text.substr(newline + 1)) + 1};
}

}  // namespace devhost
