#include "tests/model/reporter/quote.h"

#include <array>
#include <cstdio>

namespace model {
namespace {

constexpr std::size_t kLongest = 200;

std::string Escape(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (character == '\n') {
      escaped += "\\n";
    } else if (character == '"' || character == '\\') {
      escaped += {'\\', character};
    } else if (byte >= 0x20 && byte < 0x7f) {
      escaped += character;
    } else {
      std::array<char, 5> code = {};
      std::snprintf(code.data(), code.size(), "\\x%02x", byte);
      escaped += code.data();
    }
  }
  return escaped;
}

}  // namespace

std::string Quote(const std::string& text) {
  if (text.size() <= kLongest) {
    return '"' + Escape(text) + '"';
  }
  constexpr std::size_t kEnd = 40;
  return '"' + Escape(text.substr(0, kEnd)) + "\" ... \"" +
         Escape(text.substr(text.size() - kEnd)) + "\" (" + std::to_string(text.size()) + " bytes)";
}

}  // namespace model
