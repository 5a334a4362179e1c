#include "devhost/kaehost/import/invisible_characters.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace devhost {
namespace {

struct Character {
  std::string_view utf8;
  const char* code;
};

// Those that editors, web pages and word processors leave in a text.
constexpr Character kInvisible[] = {
    {"\xc2\xa0",     "U+00A0"}, // no-break space
    {"\xc2\xad",     "U+00AD"}, // soft hyphen
    {"\xe2\x80\x8b", "U+200B"}, // zero-width space
    {"\xe2\x80\x8c", "U+200C"}, // zero-width non-joiner
    {"\xe2\x80\x8d", "U+200D"}, // zero-width joiner
    {"\xe2\x80\x8e", "U+200E"}, // left-to-right mark
    {"\xe2\x80\x8f", "U+200F"}, // right-to-left mark
    {"\xe2\x80\xaf", "U+202F"}, // narrow no-break space
    {"\xe2\x81\xa0", "U+2060"}, // word joiner
    {"\xef\xbb\xbf", "U+FEFF"}, // byte order mark
};

bool IsControl(char c) {
  constexpr char kDelete = 0x7f;
  return (static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\r') || c == kDelete;
}

std::string CodeOf(char control) {
  std::ostringstream code;
  code << "U+" << std::hex << std::uppercase << std::setw(4) << std::setfill('0') << int{control};
  return code.str();
}

}  // namespace

std::string InvisibleIn(std::string_view text) {
  for (const auto& [utf8, code] : kInvisible) {
    if (text.find(utf8) != std::string_view::npos) {
      return std::string("an invisible character, ") + code;
    }
  }
  const auto* control = std::find_if(text.begin(), text.end(), IsControl);
  if (control == text.end()) {
    return "";
  }
  return *control == '\0' ? "a NUL byte" : "an invisible character, " + CodeOf(*control);
}

}  // namespace devhost
