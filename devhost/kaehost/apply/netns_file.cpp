#include "devhost/kaehost/apply/netns_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "devhost/kaehost/kernel/file_descriptor.h"
#include "devhost/libe/document.h"

namespace devhost {
namespace {

[[noreturn]] void Refuse(const std::string& path, const std::string& sentence) {
  throw CLI::ValidationError("--netns-file: " + InputName(path) + ": " + sentence);
}

std::string Read(const std::string& path) {
  constexpr std::size_t kLongest = std::size_t{1} << 20;
  const FileDescriptor file(path == "-" ? dup(STDIN_FILENO)
                                        : open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) {
    Refuse(path, std::string("cannot open: ") + std::strerror(errno) + "; check the path");
  }
  std::string text;
  char piece[4096];
  ssize_t size = 0;
  while ((size = read(file.get(), piece, sizeof piece)) > 0) {
    text.append(piece, static_cast<std::size_t>(size));
    if (text.size() > kLongest) {
      Refuse(path, "longer than 1 MiB; name fewer network namespaces");
    }
  }
  if (size < 0) {
    Refuse(path, std::string("cannot read: ") + std::strerror(errno) + "; check the file");
  }
  return text;
}

}  // namespace

std::vector<std::string> ReadNetnsFile(const std::string& path) {
  constexpr const char* kBlanks = " \t\r";
  std::vector<std::string> names;
  std::istringstream lines(Read(path));
  for (std::string line; std::getline(lines, line);) {
    const std::size_t begin = line.find_first_not_of(kBlanks);
    if (begin == std::string::npos || line[begin] == '#') {
      continue;
    }
    if (line.find('\0') != std::string::npos) {
      Refuse(path,
             "contains a NUL byte; write the name or path of a network namespace in each line");
    }
    names.push_back(line.substr(begin, line.find_last_not_of(kBlanks) + 1 - begin));
  }
  if (names.empty()) {
    Refuse(path, "names no network namespace; write a name or path in each line");
  }
  return names;
}

}  // namespace devhost
