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
  Input(const std::string& path, const Limits& limits)
      : name_(InputName(path)),
        limits_(limits),
        fd_(path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                        : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (fd_ < 0) {
      ThrowUnreadable();
    }
  }
  ~Input() { close(fd_); }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  // Returns the number of bytes read, 0 at the end. `line` is the parser's current line.
  std::size_t Read(char* buffer, std::size_t size, int line) {
    if (markup_bytes_ > limits_.markup + kReadAhead) {
      Refuse(markup_line_,
             "a tag, a comment, a CDATA section, a declaration or the space between them is longer "
             "than " +
                 std::to_string(limits_.markup >> 10) + " KiB; shorten it");
    }
    const std::size_t count = Fill(buffer, size);
    bytes_ += count;
    markup_bytes_ += count;
    if (bytes_ > limits_.bytes) {
      Refuse(line, "the document is longer than " + std::to_string(limits_.bytes >> 20) +
                       " MiB; split it into several");
    }
    return count;
  }

  // Call this after the parser has finished a tag, a comment or some text.
  void EndMarkup(int line) {
    markup_bytes_ = 0;
    markup_line_ = line;
  }

  [[noreturn]] void Refuse(int line, const std::string& why) const {
    throw DocumentError(name_ + ':' + std::to_string(line) + ": " + why);
  }

 private:
  // More than the parser reads ahead, so that shorter markup is never refused.
  static constexpr std::size_t kReadAhead = std::size_t{8} << 10;
  static constexpr std::size_t kMaxHeld = 8;

  // The parser compares with markup only what it has: it takes "<![CD" at the end of a piece for a
  // tag, and does not see "]]>" in a text in two pieces. So each piece but the last one is full,
  // and does not end in "]": it is cut by pairs of bytes, which are characters in UTF-16.
  std::size_t Fill(char* buffer, std::size_t size) {
    std::size_t count = held_.copy(buffer, size);
    while (count < size && !is_at_end_) {
      const ssize_t more = read(fd_, buffer + count, size - count);
      if (more < 0) {
        ThrowUnreadable();
      }
      count += static_cast<std::size_t>(more);
      is_at_end_ = more == 0;
    }
    std::size_t end = count;
    while (!is_at_end_ && end > kMaxHeld && count - end < kMaxHeld &&
           (buffer[end - 1] == ']' || buffer[end - 2] == ']')) {
      end -= 2;
    }
    held_.assign(buffer + end, count - end);
    return end;
  }

  [[noreturn]] void ThrowUnreadable() const {
    throw DocumentError(name_ + ": cannot be read: " + std::strerror(errno));
  }

  const std::string name_;
  const Limits limits_;
  const int fd_;
  bool is_at_end_ = false;
  std::string held_;  // read, but left to the next piece
  std::size_t bytes_ = 0;
  std::size_t markup_bytes_ = 0;  // read since EndMarkup
  int markup_line_ = 1;
};

}  // namespace devhost
