#include "devhost/kaehost/input_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "devhost/kaehost/kernel/file_descriptor.h"
#include "devhost/libe/document.h"

namespace devhost {
namespace {

constexpr std::size_t kMaxBytes = std::size_t{1} << 20;
constexpr std::string_view kMark = "\xef\xbb\xbf";

[[noreturn]] void Refuse(const std::string& path, const std::string& sentence) {
  throw std::runtime_error(InputName(path) + ": " + sentence);
}

}  // namespace

std::string ReadInputFile(const std::string& path, const std::string& if_longer) {
  const FileDescriptor file(path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                        : open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) {
    Refuse(path, std::string("cannot read: ") + std::strerror(errno));
  }
  std::string text;
  std::array<char, 4096> piece;
  ssize_t size = 0;
  while ((size = read(file.get(), piece.data(), piece.size())) > 0 && text.size() <= kMaxBytes) {
    text.append(piece.data(), static_cast<std::size_t>(size));
  }
  if (size < 0) {
    Refuse(path, std::string("cannot read: ") + std::strerror(errno));
  }
  if (text.size() > kMaxBytes) {
    Refuse(path, "longer than 1 MiB; " + if_longer);
  }
  return text.starts_with(kMark) ? text.substr(kMark.size()) : text;
}

}  // namespace devhost
