#pragma once

#include <string>
#include <vector>

namespace devhost {

// A line of a file in the form of sysctl.conf that is neither blank nor a comment.
struct SysctlLine {
  int number;
  std::string key;   // as written, without a leading "-"; without "=", the whole line
  std::string path;  // the file that it means, below /proc/sys: "net/ipv4/tcp_sack"
  std::vector<std::string> values;  // the words between "=" and the comment
  std::string comment;              // a comment after the values: "# seconds"
  bool has_value;                   // whether the line has a "="
};

// Reads the file at `path`, or standard input if that is "-", as sysctl.conf(5) and sysctl.d(5)
// describe it. Additionally, a "#" or ";" after white space begins a comment. Skips a line "-KEY"
// without "=", which only excludes KEY from patterns. Throws std::runtime_error with a sentence
// that names the file if the file cannot be read or is longer than 1 MiB.
std::vector<SysctlLine> ReadSysctlConf(const std::string& path);

}  // namespace devhost
