#pragma once

#include <string>
#include <vector>

namespace bench {

// The same values for the tools that people use and for kaehost, in files that go with this object.
struct Inputs {
  std::string settings;  // everything that a request writes, as sysctl.conf has it
  std::string document;  // with which the traced request was made

  Inputs();
  ~Inputs();
  Inputs(const Inputs&) = delete;
  Inputs& operator=(const Inputs&) = delete;
};

// Runs a program, which is looked for as a shell does it, to its end, its output going to
// /dev/null. Throws unless it ends with status 0.
void RunProgram(std::vector<std::string> words);

}  // namespace bench
