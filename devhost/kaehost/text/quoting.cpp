#include "devhost/kaehost/text/quoting.h"

#include <algorithm>

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

// Returns the size of the control character at the beginning of the text, 0 if there is none.
std::size_t SizeOfCommand(std::string_view text) {
  constexpr char kDelete = 0x7f;
  if (static_cast<unsigned char>(text[0]) < ' ' || text[0] == kDelete) {
    return 1;
  }
  // The control characters U+0080 to U+009F in UTF-8.
  return text.size() > 1 && text[0] == '\xc2' && (text[1] & '\xe0') == '\x80' ? 2 : 0;
}

}  // namespace

std::string Shown(std::string_view text, std::size_t longest) {
  const std::string_view beginning = Beginning(text, longest);
  std::string shown;
  for (std::size_t i = 0; i < beginning.size();) {
    const std::size_t command = SizeOfCommand(beginning.substr(i));
    shown += command > 0 ? ' ' : beginning[i];
    i += std::max<std::size_t>(command, 1);
  }
  return beginning.size() < text.size() ? shown + "..." : shown;
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  return '"' + Shown(text, kLongest) + '"';
}

}  // namespace devhost
