#include "devhost/kaehost/sysctl_conf.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace devhost {
namespace {

constexpr const char* kBlanks = " \t\r";
constexpr std::size_t kMaxBytes = std::size_t{1} << 20;

std::string Trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  return begin == std::string::npos
             ? ""
             : text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// Where a dot comes first, dots separate and a slash stands for a dot in a name; where a slash
// comes first, slashes separate and a dot is one.
std::string WithSlashes(std::string key) {
  const std::size_t first = key.find_first_of("./");
  if (first != std::string::npos && key[first] == '.') {
    for (char& c : key) {
      c = c == '.' ? '/' : c == '/' ? '.' : c;
    }
  }
  return key;
}

std::vector<std::string> Words(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

std::string ReadAll(const std::string& path) {
  errno = 0;
  std::ifstream file;
  if (path != "-") {
    file.open(path);
  }
  std::istream& stream = path != "-" ? file : std::cin;
  std::string text(kMaxBytes + 1, '\0');
  stream.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (errno != 0) {
    throw std::runtime_error(path + ": cannot be read: " + std::strerror(errno));
  }
  text.resize(static_cast<std::size_t>(stream.gcount()));
  if (text.size() > kMaxBytes) {
    throw std::runtime_error(path + ": is longer than 1 MiB; give settings only");
  }
  return text;
}

}  // namespace

std::vector<SysctlLine> ReadSysctlConf(const std::string& path) {
  std::istringstream stream(ReadAll(path));
  std::vector<SysctlLine> lines;
  int number = 0;
  for (std::string text; std::getline(stream, text);) {
    ++number;
    text = Trimmed(text);
    if (text.empty() || text.front() == '#' || text.front() == ';') {
      continue;
    }
    const std::size_t equals = text.find('=');
    std::string key = Trimmed(text.substr(0, equals));
    if (key.starts_with('-')) {
      key = Trimmed(key.substr(1));
    }
    const bool has_value = equals != std::string::npos;
    lines.push_back({path, number, WithSlashes(key),
                     has_value ? Words(text.substr(equals + 1)) : std::vector<std::string>(),
                     has_value});
  }
  return lines;
}

}  // namespace devhost
