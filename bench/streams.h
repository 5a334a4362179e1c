#pragma once

#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "tests/system_calls/trace.h"

namespace bench {

// The same system calls through the library functions that a layer must use, without any code of a
// layer: one file stream with one buffer for all files, std::cout with a flush for
// each line, printf for each value. All paths and texts are ready. The difference to the floor is
// the cost of the C and C++ libraries.
class Streams {
 public:
  explicit Streams(const std::vector<SystemCall>& calls);

  void Run() const;

 private:
  struct Step {
    enum { kLine, kValue, kFile } kind;
    std::string text;         // kLine; kFile: the path
    std::string name;         // kValue
    std::string value;        // kValue; kFile: the new text, if it is written
    bool missing = false;     // kFile: it does not exist
    unsigned long words = 0;  // kFile: how many words to read, if it is read
  };

  void AddLines(const std::string& printed);
  static void Move(std::ifstream& file, const Step& step);
  static void Move(std::ofstream& file, const Step& step);
  template <class File>
  void RunWith() const;

  std::optional<bool> reads_;  // none if the pass opens no file
  std::vector<Step> steps_;
};

}  // namespace bench
