#pragma once

#include <functional>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

// Takes what is written to standard output, by whichever means, for as long as it lives.
class CapturedOutput {
 public:
  CapturedOutput();
  ~CapturedOutput();
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;

  // Answers what has come since the last call.
  std::string Take();

 private:
  int saved_;
  int file_;
};

// Takes what is written to std::cout, apart from what C functions write to standard output, for as
// long as it lives. `on_write` is called after each piece and each flush, with everything that has
// come since the last flush.
class CapturedStream : private std::streambuf {
 public:
  explicit CapturedStream(std::function<void(const std::string&)> on_write = {});
  ~CapturedStream() override;

  // What came, cut where it was flushed; the last piece has not been flushed.
  const std::vector<std::string>& pieces() const { return pieces_; }

  // What came, whole.
  std::string text() const;

 private:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;
  int sync() override;

  std::function<void(const std::string&)> on_write_;
  std::vector<std::string> pieces_ = {""};
  std::streambuf* saved_;
};
