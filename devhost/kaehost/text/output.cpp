#include "devhost/kaehost/text/output.h"

#include <unistd.h>

#include <iostream>

#include "devhost/kaehost/text/characters.h"

namespace devhost {

std::ostream& Out() {
  static std::ostream out(std::cout.rdbuf());
  return out;
}

void TellError(std::string_view sentence) { std::cerr << "kaehost: " << Visible(sentence) << '\n'; }

bool IsTerminal() {
  static const bool is_terminal = isatty(STDOUT_FILENO) == 1;
  return is_terminal;
}

std::string ForOutput(const std::string& lines) {
  return IsTerminal() ? Visible(lines, "\n\t") : lines;
}

}  // namespace devhost
