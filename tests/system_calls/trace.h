#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

// One system call, as the kernel saw it.
struct SystemCall {
  std::string name;
  std::string path;      // openat
  std::string flags;     // openat: as "O_RDONLY"
  int fd = -1;           // write, read, close
  std::size_t size = 0;  // read: room for so many bytes
  std::string text;      // write: what was handed over
  int result = 0;        // what it answered; negative: the error, as -ENOENT

  // As one line: "openat /etc/motd O_RDONLY: file", "write stdout [a\n]: 2", "close file: 0".
  std::string ToString() const;
};

// Answers the calls of traced_life by its marks: "snapshot", "request", "release". `kernel` is the
// word that traced_life takes. Needs strace; throws std::runtime_error.
std::map<std::string, std::vector<SystemCall>> TraceLife(const std::string& kernel);
