#include "tests/model/player/line_watch.h"

#include <cstdio>
#include <iostream>
#include <utility>

namespace model {

LineWatch::LineWatch(std::function<void(const std::string&)> on_line)
    : on_line_(std::move(on_line)) {}

LineWatch::~LineWatch() { Stop(); }

void LineWatch::Start() {
  if (usual_ == nullptr) {
    unflushed_.clear();
    usual_ = std::cout.rdbuf(this);
  }
}

void LineWatch::Stop() {
  if (usual_ != nullptr) {
    std::cout.rdbuf(std::exchange(usual_, nullptr));
  }
}

LineWatch::int_type LineWatch::overflow(int_type c) {
  const char character = traits_type::to_char_type(c);
  return xsputn(&character, 1) == 1 ? c : traits_type::eof();
}

std::streamsize LineWatch::xsputn(const char* text, std::streamsize size) {
  const auto length = static_cast<std::size_t>(size);
  unflushed_.append(text, length);
  return static_cast<std::streamsize>(std::fwrite(text, 1, length, stdout));
}

int LineWatch::sync() {
  const int result = std::fflush(stdout);
  std::size_t start = 0;
  std::size_t end = 0;
  while (usual_ != nullptr && (end = unflushed_.find('\n', start)) != std::string::npos) {
    const std::string line = unflushed_.substr(start, end - start);
    start = end + 1;
    on_line_(line);
  }
  unflushed_.erase(0, start);
  return result;
}

}  // namespace model
