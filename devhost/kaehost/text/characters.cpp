#include "devhost/kaehost/text/characters.h"

#include <algorithm>
#include <bit>
#include <iomanip>
#include <iterator>
#include <sstream>

namespace devhost {
namespace {

// A character of a UTF-8 text, or a byte that is none.
struct Character {
  std::string_view bytes;
  bool is_byte;
  unsigned code;
};

Character FirstOf(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  const auto ones = static_cast<std::size_t>(std::countl_one(first));
  const std::size_t size = ones == 0 ? 1 : ones;
  const Character byte = {text.substr(0, 1), true, first};
  if (ones == 1 || size > 4 || size > text.size()) {
    return byte;
  }
  unsigned code = first & (0xffU >> (ones + 1));
  for (const char next : text.substr(1, size - 1)) {
    if ((next & '\xc0') != '\x80') {
      return byte;
    }
    code = code << 6U | (static_cast<unsigned char>(next) & 0x3fU);
  }
  return {text.substr(0, size), false, code};
}

struct Range {
  unsigned first;
  unsigned last;
};

constexpr Range kCommands[] = {
    {0x0000, 0x001f}, // control characters
    {0x007f, 0x009f},
    {0x061c, 0x061c}, // marks of the direction of text
    {0x200e, 0x200f},
    {0x2028, 0x202e}, // line separators, more marks
    {0x2066, 0x2069},
};

// Those that editors, web pages and word processors leave in a text.
constexpr Range kInvisible[] = {
    {0x00a0, 0x00a0}, // no-break space
    {0x00ad, 0x00ad}, // soft hyphen
    {0x200b, 0x200d}, // zero-width space, non-joiner, joiner
    {0x202f, 0x202f}, // narrow no-break space
    {0x2060, 0x2060}, // word joiner
    {0xfeff, 0xfeff}, // byte order mark
};

bool IsIn(const auto& ranges, unsigned code) {
  return std::any_of(std::begin(ranges), std::end(ranges), [code](const Range& range) {
    return range.first <= code && code <= range.last;
  });
}

bool IsCommand(const Character& character) { return IsIn(kCommands, character.code); }

std::string Code(const Character& character) {
  std::ostringstream code;
  code << std::hex << std::uppercase << std::setfill('0') << std::setw(character.is_byte ? 2 : 4)
       << character.code;
  return code.str();
}

std::string NameOf(const Character& character) {
  return (character.is_byte ? "0x" : "U+") + Code(character);
}

// Returns the text with what `replacement` returns for each command that is not in `kept`.
std::string WithoutCommands(std::string_view text, std::string_view kept, auto replacement) {
  std::string result;
  while (!text.empty()) {
    const Character character = FirstOf(text);
    if (IsCommand(character) && kept.find(character.bytes) == std::string_view::npos) {
      result += replacement(character);
    } else {
      result += character.bytes;
    }
    text.remove_prefix(character.bytes.size());
  }
  return result;
}

}  // namespace

std::string Visible(std::string_view text, std::string_view kept) {
  return WithoutCommands(text, kept, [](const Character& c) { return '<' + NameOf(c) + '>'; });
}

std::string Escaped(std::string_view json) {
  return WithoutCommands(json, "\n", [](const Character& c) { return "\\u" + Code(c); });
}

std::string InvisibleIn(std::string_view text) {
  for (; !text.empty(); text.remove_prefix(FirstOf(text).bytes.size())) {
    const Character character = FirstOf(text);
    const bool is_white_space = character.bytes == "\t" || character.bytes == "\r";
    if (character.code == 0) {
      return "a NUL byte";
    }
    if (!is_white_space && !character.is_byte &&
        (IsCommand(character) || IsIn(kInvisible, character.code))) {
      return "an invisible character, " + NameOf(character);
    }
  }
  return "";
}

}  // namespace devhost
