#pragma once

#include <functional>
#include <ostream>
#include <streambuf>
#include <string>

namespace model {

// Between Start() and Stop() tells each line that is written to std::cout, once it has been
// flushed. What is written goes to standard output all the same, by way of the same buffer as
// always.
class LineWatch : private std::streambuf {
 public:
  explicit LineWatch(std::function<void(const std::string&)> on_line);
  ~LineWatch() override;

  // Nothing happens where it has been started or stopped already.
  void Start();
  void Stop();

 private:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;
  int sync() override;

  std::function<void(const std::string&)> on_line_;
  std::string unflushed_;  // and the part of a line that was flushed without its end
  std::streambuf* usual_ = nullptr;
};

}  // namespace model
