#include "devhost/kaehost/text/colour.h"

#include <unistd.h>

#include <cstdlib>

#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

bool HasColours() {
  const char* refused = std::getenv("NO_COLOR");
  return KnowsEscapes(STDOUT_FILENO) && (refused == nullptr || *refused == '\0');
}

const char* Code(Colour colour) {
  switch (colour) {
    case Colour::kGreen:
      return "\033[32m";
    case Colour::kYellow:
      return "\033[33m";
    case Colour::kRed:
      return "\033[31m";
  }
  return "";
}

}  // namespace

std::string Painted(const std::string& text, Colour colour) {
  static const bool has_colours = HasColours();
  return has_colours ? Code(colour) + text + "\033[0m" : text;
}

}  // namespace devhost
