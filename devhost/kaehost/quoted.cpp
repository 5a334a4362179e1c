#include "devhost/kaehost/quoted.h"

namespace devhost {

std::string Shown(std::string_view text, std::size_t longest) {
  constexpr char kDelete = 0x7f;
  std::string shown;
  for (const char byte : text.substr(0, longest)) {
    shown += static_cast<unsigned char>(byte) < ' ' || byte == kDelete ? ' ' : byte;
  }
  return text.size() > longest ? shown + "..." : shown;
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  return '"' + Shown(text, kLongest) + '"';
}

}  // namespace devhost
