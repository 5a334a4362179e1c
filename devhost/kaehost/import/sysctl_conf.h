#pragma once

#include <string>
#include <vector>

namespace devhost {

// A line of a file in the form of sysctl.conf that says something.
struct SysctlLine {
  int number;
  std::string key;                  // as it is written, without a "-"; where no "=" is, all of it
  std::string path;                 // what it means, below /proc/sys: "net/ipv4/tcp_sack"
  std::vector<std::string> values;  // the words after "="
  bool has_value;                   // whether there is a "=" at all
};

// Reads the file at `path`, "-" for standard input, as sysctl.conf(5) and sysctl.d(5) describe it.
// Left out are blank lines, comments, and "-KEY" without "=", which says what patterns leave alone.
// Throws std::runtime_error with a sentence that names the file if it cannot be read.
std::vector<SysctlLine> ReadSysctlConf(const std::string& path);

}  // namespace devhost
