#include "tests/support/output.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <numeric>
#include <utility>

CapturedOutput::CapturedOutput() : saved_(dup(STDOUT_FILENO)), file_(memfd_create("output", 0)) {
  std::fflush(stdout);
  dup2(file_, STDOUT_FILENO);
}

CapturedOutput::~CapturedOutput() {
  std::fflush(stdout);
  dup2(saved_, STDOUT_FILENO);
  close(saved_);
  close(file_);
}

std::string CapturedOutput::Take() {
  std::fflush(stdout);
  std::string text(static_cast<std::size_t>(lseek(file_, 0, SEEK_CUR)), '\0');
  const ssize_t size = pread(file_, text.data(), text.size(), 0);
  text.resize(static_cast<std::size_t>(size));
  lseek(file_, 0, SEEK_SET);
  return text;
}

CapturedStream::CapturedStream(std::function<void(const std::string&)> on_write)
    : on_write_(std::move(on_write)), saved_(std::cout.rdbuf(this)) {}

CapturedStream::~CapturedStream() { std::cout.rdbuf(saved_); }

std::string CapturedStream::text() const {
  return std::accumulate(pieces_.begin(), pieces_.end(), std::string());
}

CapturedStream::int_type CapturedStream::overflow(int_type c) {
  const char character = traits_type::to_char_type(c);
  return xsputn(&character, 1) == 1 ? c : traits_type::eof();
}

std::streamsize CapturedStream::xsputn(const char* text, std::streamsize size) {
  pieces_.back().append(text, static_cast<std::size_t>(size));
  if (on_write_) {
    on_write_(pieces_.back());
  }
  return size;
}

int CapturedStream::sync() {
  pieces_.emplace_back();
  if (on_write_) {
    on_write_("");
  }
  return 0;
}
