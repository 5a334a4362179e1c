#pragma once

#include <string>
#include <vector>

namespace bench {

// The same values for the common tools and for kaehost, in files that are deleted with this object.
struct Inputs {
  std::string settings;  // everything that a request writes, in sysctl.conf format
  std::string document;  // the document of the traced request

  Inputs();
  ~Inputs();
  Inputs(const Inputs&) = delete;
  Inputs& operator=(const Inputs&) = delete;
};

// Finds a program in PATH, runs it with standard output to /dev/null, waits for its end, and
// returns what it printed on standard error. Throws unless it exits with status 0.
std::string RunProgram(std::vector<std::string> words);

}  // namespace bench
