#include "devhost/kaehost/apply/netns_file.h"

#include <sstream>
#include <stdexcept>

#include "devhost/kaehost/input_file.h"
#include "devhost/libe/document.h"

namespace devhost {

std::vector<std::string> ReadNetnsFile(const std::string& path) {
  constexpr const char* kBlanks = " \t\r";
  std::vector<std::string> names;
  std::istringstream lines(ReadInputFile(path, "name fewer network namespaces"));
  for (std::string line; std::getline(lines, line);) {
    const std::size_t begin = line.find_first_not_of(kBlanks);
    if (begin == std::string::npos || line[begin] == '#') {
      continue;
    }
    if (line.find('\0') != std::string::npos) {
      throw std::runtime_error(InputName(path) +
                               ": contains a NUL byte; write the name or path of a network "
                               "namespace in each line");
    }
    names.push_back(line.substr(begin, line.find_last_not_of(kBlanks) + 1 - begin));
  }
  if (names.empty()) {
    throw std::runtime_error(InputName(path) +
                             ": names no network namespace; write a name or path in each line");
  }
  return names;
}

}  // namespace devhost
