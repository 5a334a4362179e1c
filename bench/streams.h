#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "tests/system_calls/trace.h"

namespace bench {

// The same system calls through the library functions that a layer must use, without any code of a
// layer: a file stream for each direction with one buffer for all files, std::cout with a flush for
// each line, printf for each value. All paths and texts are ready. The difference to the floor is
// the cost of the C and C++ libraries.
class Streams {
 public:
  explicit Streams(const std::vector<SystemCall>& calls);

  void Run() const;

 private:
  struct Step {
    enum { kLine, kValue, kRead, kWrite } kind;
    std::string text;         // kLine; kRead and kWrite: the path
    std::string name;         // kValue
    std::string value;        // kValue; kWrite: the file's new text
    bool missing = false;     // kRead, kWrite: the file does not exist
    unsigned long words = 0;  // kRead: how many words to read
  };

  void AddLines(const std::string& printed);
  static void Read(std::ifstream& file, const Step& step);
  static void Write(std::ofstream& file, const Step& step);

  std::vector<Step> steps_;
};

}  // namespace bench
