#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "devhost/libe/document.h"

namespace devhost {

// The bytes of a document, from a file, a pipe or a device. A folder can be opened, but reading it
// fails. Throws DocumentError.
class Input {
 public:
  // The XML declaration must be within the first piece.
  static constexpr std::size_t kPiece = std::size_t{16} << 10;

  explicit Input(const std::string& path)
      : name_(InputName(path)),
        fd_(path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                        : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (fd_ < 0) {
      ThrowUnreadable();
    }
  }
  ~Input() { close(fd_); }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  // Returns the next bytes, which are valid until the next call. Only at the end they are fewer
  // than a full piece: the parser looks at an unfinished tag again with each piece.
  std::string_view Read() {
    std::size_t count = 0;
    while (count < kPiece && !is_at_end_) {
      const ssize_t more = read(fd_, piece_.data() + count, kPiece - count);
      if (more < 0) {
        ThrowUnreadable();
      }
      count += static_cast<std::size_t>(more);
      is_at_end_ = more == 0;
    }
    bytes_ += count;
    return {piece_.data(), count};
  }

  bool is_at_end() const { return is_at_end_; }

  // Returns the number of bytes that have been read.
  std::size_t bytes() const { return bytes_; }

  [[noreturn]] void Refuse(Position at, const std::string& why) const {
    throw DocumentError(name_ + ':' + std::to_string(at.line) + ':' + std::to_string(at.column) +
                        ": " + why);
  }

 private:
  [[noreturn]] void ThrowUnreadable() const {
    throw DocumentError(name_ + ": cannot be read: " + std::strerror(errno));
  }

  const std::string name_;
  const int fd_;
  bool is_at_end_ = false;
  std::size_t bytes_ = 0;
  std::array<char, kPiece> piece_;
};

}  // namespace devhost
