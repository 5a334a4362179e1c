#include "devhost/kaehost/apply/plugin_lines.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace devhost {
namespace {

bool Contains(std::string_view text, std::string_view word) {
  return std::search(text.begin(), text.end(), word.begin(), word.end(), [](char one, char other) {
           return std::tolower(static_cast<unsigned char>(one)) == other;
         }) != text.end();
}

bool ReportsAnError(std::string_view line) {
  constexpr std::string_view kWords[] = {"error", "fail", "warning", "not text"};
  return !line.ends_with("No such file or directory") &&
         std::any_of(std::begin(kWords), std::end(kWords),
                     [line](std::string_view word) { return Contains(line, word); });
}

std::string Fold(int count) {
  const std::string lines = count == 1 ? " line" : " lines";
  return count > 0 ? "... " + std::to_string(count) + lines + " of the plug-in ...\n" : "";
}

}  // namespace

std::string Folded(std::string_view text) {
  std::string folded;
  int count = 0;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    if (ReportsAnError(line)) {
      folded.append(Fold(count)).append(line) += '\n';
      count = 0;
    } else {
      ++count;
    }
  }
  return folded + Fold(count);
}

}  // namespace devhost
