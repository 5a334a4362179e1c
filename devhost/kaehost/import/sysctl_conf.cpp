#include "devhost/kaehost/import/sysctl_conf.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <string_view>

#include "devhost/kaehost/input_file.h"

namespace devhost {
namespace {

constexpr std::string_view kBlanks = " \t\r";

std::string Trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  return begin == std::string::npos
             ? ""
             : text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// If the first separator is a dot, dots separate and a slash is a dot in a name. If it is a slash,
// slashes separate. Leading and repeated separators have no meaning.
std::string PathOf(std::string key) {
  const std::size_t first = key.find_first_of("./");
  if (first != std::string::npos && key[first] == '.') {
    for (char& c : key) {
      c = c == '.' ? '/' : c == '/' ? '.' : c;
    }
  }
  const auto both_separate = [](char one, char next) { return one == '/' && next == '/'; };
  key.erase(std::unique(key.begin(), key.end(), both_separate), key.end());
  return key.substr(key.starts_with('/') ? 1 : 0);
}

// Returns where a comment begins after values, else the end.
std::size_t CommentIn(std::string_view text) {
  std::size_t i = text.find_first_of("#;");
  while (i != std::string_view::npos && i > 0 &&
         kBlanks.find(text[i - 1]) == std::string_view::npos) {
    i = text.find_first_of("#;", i + 1);
  }
  return std::min(i, text.size());
}

std::vector<std::string> Words(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

std::optional<SysctlLine> Read(const std::string& text, int number) {
  const std::string line = Trimmed(text);
  if (line.empty() || line.front() == '#' || line.front() == ';') {
    return std::nullopt;
  }
  const std::size_t equals = line.find('=');
  const bool has_value = equals != std::string::npos;
  const bool has_dash = line.front() == '-';
  if (has_dash && !has_value) {
    return std::nullopt;
  }
  const std::string key = Trimmed(line.substr(0, equals).substr(has_dash ? 1 : 0));
  const std::string name = has_value ? key : key.substr(0, key.find_first_of(kBlanks));
  const std::string value = Trimmed(has_value ? line.substr(equals + 1) : "");
  const std::size_t comment = CommentIn(value);
  return SysctlLine{
      number, key, PathOf(name), Words(value.substr(0, comment)), value.substr(comment), has_value};
}

}  // namespace

std::vector<SysctlLine> ReadSysctlConf(const std::string& path) {
  std::istringstream stream(ReadInputFile(path, "import only the lines that you need"));
  std::vector<SysctlLine> lines;
  int number = 0;
  for (std::string text; std::getline(stream, text);) {
    if (auto line = Read(text, ++number)) {
      lines.push_back(std::move(*line));
    }
  }
  return lines;
}

}  // namespace devhost
