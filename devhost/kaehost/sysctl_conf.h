#pragma once

#include <string>
#include <vector>

namespace devhost {

// A line of a file in the form of sysctl.conf, as far as it says something.
struct SysctlLine {
  std::string file;
  int line;
  std::string key;                  // with slashes: "net/ipv4/tcp_sack"
  std::vector<std::string> values;  // the words after "="
  bool has_value;                   // whether there is a "=" at all
};

// Reads the file at `path`, "-" for standard input: comments after "#" or ";", keys with dots or
// slashes, a "-" before a key that may fail. Throws std::runtime_error with a sentence that names
// the file if it cannot be read.
std::vector<SysctlLine> ReadSysctlConf(const std::string& path);

}  // namespace devhost
