#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>

#include "devhost/libe/document.h"

namespace devhost {

// The bytes of a document, from a file, a pipe or a device. Its limits bound time and memory for
// any input, and are far above real documents. A folder can be opened, but reading it fails. Throws
// DocumentError.
class Input {
 public:
  explicit Input(const std::string& path)
      : path_(path), fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (fd_ < 0) {
      ThrowUnreadable();
    }
  }
  ~Input() { close(fd_); }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  // Returns the number of bytes read, 0 at the end. `line` is the parser's current line.
  std::size_t Read(char* buffer, std::size_t size, int line) {
    if (markup_bytes_ > kMaxMarkup + kReadAhead) {
      Refuse(markup_line_,
             "a tag, a comment, a CDATA section, a declaration or the space between them is longer "
             "than 64 KiB; shorten it");
    }
    const ssize_t count = read(fd_, buffer, size);
    if (count < 0) {
      ThrowUnreadable();
    }
    bytes_ += static_cast<std::size_t>(count);
    markup_bytes_ += static_cast<std::size_t>(count);
    if (bytes_ > kMaxBytes) {
      Refuse(line, "the document is longer than 256 MiB; split it into several");
    }
    return static_cast<std::size_t>(count);
  }

  // Call this after the parser has finished a tag, a comment or some text.
  void EndMarkup(int line) {
    markup_bytes_ = 0;
    markup_line_ = line;
  }

  [[noreturn]] void Refuse(int line, const std::string& why) const {
    throw DocumentError(path_ + ':' + std::to_string(line) + ": " + why);
  }

 private:
  static constexpr std::size_t kMaxBytes = std::size_t{256} << 20;
  // The parser's time grows with the square of the number of attributes in a tag.
  static constexpr std::size_t kMaxMarkup = std::size_t{64} << 10;
  // More than the parser reads ahead, so that shorter markup is never refused.
  static constexpr std::size_t kReadAhead = std::size_t{8} << 10;

  [[noreturn]] void ThrowUnreadable() const {
    throw DocumentError(path_ + ": cannot be read: " + std::strerror(errno));
  }

  const std::string path_;
  const int fd_;
  std::size_t bytes_ = 0;
  std::size_t markup_bytes_ = 0;  // read since EndMarkup
  int markup_line_ = 1;
};

}  // namespace devhost
