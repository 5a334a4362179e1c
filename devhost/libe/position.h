#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace devhost {

// A position in a file. Both start at 1; columns count characters.
struct Position {
  int line;
  int column;
};

// Returns the number of characters in UTF-8 text.
inline int Characters(std::string_view text) {
  return static_cast<int>(
      std::count_if(text.begin(), text.end(), [](char byte) { return (byte & '\xc0') != '\x80'; }));
}

// Returns where `text` begins, given that it ends at `end`. `before` is the known text before it.
inline Position BeginOf(std::string_view text, Position end, std::string_view before) {
  const auto newlines = static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  if (newlines == 0) {
    return {end.line, end.column - Characters(text)};
  }
  return {end.line - newlines, Characters(before.substr(before.rfind('\n') + 1)) + 1};
}

// Returns the position right after `text`, which begins at `begin`.
inline Position EndOf(std::string_view text, Position begin) {
  const std::size_t newline = text.rfind('\n');
  if (newline == std::string_view::npos) {
    return {begin.line, begin.column + Characters(text)};
  }
  return {begin.line + static_cast<int>(std::count(text.begin(), text.end(), '\n')),
          Characters(text.substr(newline + 1)) + 1};
}

}  // namespace devhost
