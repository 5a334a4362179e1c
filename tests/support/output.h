#pragma once

#include <functional>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

// Captures everything written to standard output during its lifetime, by any function.
class CapturedOutput {
 public:
  CapturedOutput();
  ~CapturedOutput();
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;

  // Returns the output since the last call.
  std::string Take();

 private:
  int saved_;
  int file_;
};

// Captures what is written to std::cout during its lifetime, but not what C functions write to
// standard output. Calls `on_write` after each piece and each flush, with everything since the last
// flush.
class CapturedStream : private std::streambuf {
 public:
  explicit CapturedStream(std::function<void(const std::string&)> on_write = {});
  ~CapturedStream() override;

  // The output, split at each flush. The last piece is not flushed yet.
  const std::vector<std::string>& pieces() const { return pieces_; }

  // The whole output.
  std::string text() const;

 private:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;
  int sync() override;

  std::function<void(const std::string&)> on_write_;
  std::vector<std::string> pieces_ = {""};
  std::streambuf* saved_;
};
