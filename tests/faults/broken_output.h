#pragma once

#include <string>
#include <vector>

// What may have become of a process's standard output. Descriptors 0 to 2 are standard input,
// output and error.
struct OutputFault {
  enum Kind { kNone, kClosed, kFullDevice, kBrokenPipe };
  Kind kind;
  std::vector<int> closed;  // kClosed: these descriptors
  int buffering;            // as setvbuf's

  std::string name;  // for the test's name
};

// Breaks standard output for as long as it lives. Afterwards it is as before, what was printed
// meanwhile is lost, and std::cout is good. Nothing may be checked meanwhile: nobody would see it.
class BrokenOutput {
 public:
  explicit BrokenOutput(const OutputFault& fault);
  ~BrokenOutput();
  BrokenOutput(const BrokenOutput&) = delete;
  BrokenOutput& operator=(const BrokenOutput&) = delete;

 private:
  std::vector<int> saved_;  // duplicates of descriptors 0 to 2
};
