#include "devhost/kaehost/text/quoting.h"

#include <algorithm>
#include <cctype>

#include "devhost/kaehost/text/characters.h"

namespace devhost {

namespace {

// Returns the first bytes of the text, at most `longest`, without cutting a character in two.
std::string_view Beginning(std::string_view text, std::size_t longest) {
  if (text.size() <= longest) {
    return text;
  }
  while (longest > 0 && (text[longest] & '\xc0') == '\x80') {
    --longest;
  }
  return text.substr(0, longest);
}

}  // namespace

std::string Shown(std::string_view text, std::size_t longest) {
  const std::string_view beginning = Beginning(text, longest);
  std::string shown(beginning);
  std::replace_if(
      shown.begin(), shown.end(), [](unsigned char c) { return std::isspace(c) != 0; }, ' ');
  return Visible(shown) + (beginning.size() < text.size() ? "..." : "");
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  return '"' + Shown(text, kLongest) + '"';
}

}  // namespace devhost
