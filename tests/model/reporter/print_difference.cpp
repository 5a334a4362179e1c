#include <algorithm>

#include "tests/model/reporter/print.h"
#include "tests/model/reporter/quote.h"

namespace model {
namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

std::string Print(const std::string& line) { return Quote(line); }

std::string Print(const std::pair<std::string, std::size_t>& call) {
  return call.first + " at byte " + std::to_string(call.second);
}

std::string Print(const std::pair<const std::string, std::string>& file) {
  return file.first + " " + Quote(file.second);
}

std::string Print(bool result) { return result ? "true" : "false"; }

// Prints the first different item of two lists, after the last few common items.
template <class List>
std::string FirstDifference(const char* what, const List& expected, const List& seen) {
  const auto [mine, other] =
      std::mismatch(expected.begin(), expected.end(), seen.begin(), seen.end());
  if (mine == expected.end() && other == seen.end()) {
    return "";
  }
  constexpr std::ptrdiff_t kContext = 3;
  const std::ptrdiff_t equal = std::distance(expected.begin(), mine);
  std::string text = std::string(what) + " differ after " + std::to_string(equal) + " equal ones\n";
  for (auto item = std::prev(mine, std::min(equal, kContext)); item != mine; ++item) {
    text += "            " + Print(*item) + "\n";
  }
  text += "  expected: " + (mine != expected.end() ? Print(*mine) : "no more") + "\n";
  text += "  seen:     " + (other != seen.end() ? Print(*other) : "no more") + "\n";
  return text;
}

}  // namespace

std::string PrintDifference(const Trace& expected, const Trace& seen) {
  if (expected == seen) {
    return "";
  }
  for (const std::string& text :
       {FirstDifference("lines of output", Lines(expected.output), Lines(seen.output)),
        FirstDifference("calls of the host", expected.calls, seen.calls),
        FirstDifference("results of requests", expected.results, seen.results),
        FirstDifference("files", expected.files, seen.files)}) {
    if (!text.empty()) {
      return text;
    }
  }
  return "outputs differ in their last line break\n";
}

}  // namespace model
