#include "tests/system_calls/trace.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <stdexcept>

namespace {

// Turns \x41\x0a into what it stands for.
std::string Unescape(const std::string& escaped) {
  std::string text;
  for (std::size_t i = 0; i + 3 < escaped.size(); i += 4) {
    text += static_cast<char>(std::stoi(escaped.substr(i + 2, 2), nullptr, 16));
  }
  return text;
}

int Errno(const std::string& name) {
  static const std::map<std::string, int> numbers = {
      {"EBADF", EBADF}, {"ENOENT", ENOENT}, {"EACCES", EACCES}, {"EINVAL", EINVAL}};
  const auto number = numbers.find(name);
  return number != numbers.end() ? number->second : EIO;
}

// A line of strace -xx: name(arguments) = result [ERROR (text)].
SystemCall Parse(const std::string& line) {
  static const std::regex call(R"re((\w+)\((.*)\) += (-?\w+)(?: (E\w+).*)?)re");
  static const std::regex open(R"re(AT_FDCWD, "((?:\\x..)*)", ([^,]*).*)re");
  static const std::regex write(R"re((-?\d+), "((?:\\x..)*)", \d+)re");
  std::smatch parts;
  if (!std::regex_match(line, parts, call)) {
    throw std::runtime_error("not understood in a trace: " + line);
  }
  SystemCall result;
  result.name = parts[1];
  const std::string arguments = parts[2];
  result.result = parts[4].matched ? -Errno(parts[4]) : std::atoi(parts[3].str().c_str());
  std::smatch found;
  if (result.name == "openat" && std::regex_match(arguments, found, open)) {
    result.path = Unescape(found[1]);
    result.flags = found[2];
  } else if (result.name == "write" && std::regex_match(arguments, found, write)) {
    result.fd = std::atoi(found[1].str().c_str());
    result.text = Unescape(found[2]);
  } else {
    result.fd = std::atoi(arguments.c_str());
    if (result.name == "read") {
      result.size = std::stoul(arguments.substr(arguments.rfind(' ')));
    }
  }
  return result;
}

}  // namespace

std::string SystemCall::ToString() const {
  if (name == "openat") {
    return name + " " + path + " " + flags + ": " + (result < 0 ? std::to_string(result) : "file");
  }
  // Which number an opened file has depends on what the process was started with.
  const std::string descriptor = fd == STDOUT_FILENO ? "stdout" : "file";
  return name + " " + descriptor + (name == "write" ? " [" + text + "]" : "") + ": " +
         std::to_string(result);
}

std::map<std::string, std::vector<SystemCall>> TraceLife(const std::string& kernel) {
  const std::string file =
      std::filesystem::temp_directory_path() / ("kaetcp-trace-" + std::to_string(getpid()));
  const std::string command = "strace -xx -s 1000000 -e signal=none -o '" + file +
                              "' '" TRACED_LIFE "' " + kernel + " >/dev/null";
  if (std::system(command.c_str()) != 0) {  // NOLINT(cert-env33-c): the arguments are our own
    throw std::runtime_error("failed: " + command);
  }
  std::map<std::string, std::vector<SystemCall>> calls;
  std::string mark;
  std::ifstream trace(file);
  for (std::string line; std::getline(trace, line);) {
    if (mark.empty() && line.find("write(-1") != 0) {
      continue;
    }
    const SystemCall call = Parse(line);
    if (call.name == "write" && call.fd == -1) {
      mark = call.text == "end" ? "" : call.text;
      calls[mark].clear();  // what counts is the last life
    } else {
      calls[mark].push_back(call);
    }
  }
  std::filesystem::remove(file);
  return calls;
}
