#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "tests/system_calls/trace.h"

namespace bench {

// The same system calls made by the means that a layer has to use, and nothing of a layer's own: a
// file stream for each direction, std::cout with a flush for each line, printf for each value, all
// paths and texts at hand. What lies between this and the floor belongs to the two libraries.
class Streams {
 public:
  enum Buffer { kOfEachFile, kOfThePass };

  explicit Streams(const std::vector<SystemCall>& calls, Buffer buffer = kOfEachFile);

  void Run() const;

 private:
  struct Step {
    enum { kLine, kValue, kRead, kWrite } kind;
    std::string text;         // kLine; kRead and kWrite: the path
    std::string name;         // kValue
    std::string value;        // kValue; kWrite: what goes into the file
    bool missing = false;     // kRead, kWrite: not there
    unsigned long words = 0;  // kRead: how many the file is read for
  };

  void AddLines(const std::string& printed);
  static void Read(std::ifstream& file, const Step& step);
  static void Write(std::ofstream& file, const Step& step);

  Buffer buffer_;
  std::vector<Step> steps_;
};

}  // namespace bench
