#pragma once

#include <ios>
#include <string>

// Lets a file stream that opens `path` come out of the opening with `flag` set and errno at EXDEV,
// as another standard library's might, for as long as this object lives. The program's
// std::ios::clear is replaced where this file's source is linked in. One at a time.
class OddStream {
 public:
  OddStream(const std::string& path, std::ios::iostate flag);
  ~OddStream();
  OddStream(const OddStream&) = delete;
  OddStream& operator=(const OddStream&) = delete;
};
