#pragma once

#include <string>

// A terminal for what a process prints.
class Terminal {
 public:
  Terminal();
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  // Makes it the standard error of this process, with a TERM that knows escape sequences.
  void TakeErrors() const;

  // Returns what was printed there. Once only.
  std::string Shown();

 private:
  int end_ = -1;
  int descriptor_ = -1;
};
