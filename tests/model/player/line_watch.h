#pragma once

#include <functional>
#include <ostream>
#include <streambuf>
#include <string>

namespace model {

// Between Start() and Stop(), reports each line written to std::cout after it is flushed. The
// output still goes to standard output, through the usual buffer.
class LineWatch : private std::streambuf {
 public:
  explicit LineWatch(std::function<void(const std::string&)> on_line);
  ~LineWatch() override;

  // No effect if already started or stopped.
  void Start();
  void Stop();

 private:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;
  int sync() override;

  std::function<void(const std::string&)> on_line_;
  std::string unflushed_;  // also an incomplete line that was flushed
  std::streambuf* usual_ = nullptr;
};

}  // namespace model
