#pragma once

#include <string>
#include <thread>

// A pipe into which a thread writes `bytes`, and then `repeated` until nobody reads any more. It
// stands for a process, so from the first one on the test ignores SIGPIPE.
class FilledPipe {
 public:
  explicit FilledPipe(std::string bytes, std::string repeated = "");
  ~FilledPipe();
  FilledPipe(const FilledPipe&) = delete;
  FilledPipe& operator=(const FilledPipe&) = delete;

  // Answers the path of the end to read from, for this process and those that it starts.
  std::string path() const { return "/proc/self/fd/" + std::to_string(read_end_); }

 private:
  int read_end_;
  std::thread writer_;
};
