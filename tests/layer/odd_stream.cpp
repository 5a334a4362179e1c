#include "tests/layer/odd_stream.h"

#include <dlfcn.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#define IOS_CLEAR "_ZNSt9basic_iosIcSt11char_traitsIcEE5clearESt12_Ios_Iostate"

namespace {

std::string g_path;
std::ios::iostate g_flag = std::ios::goodbit;

// The file below a file stream's buffer, which only a derived class may name.
struct FileOf : std::filebuf {
  static int Descriptor(std::filebuf& buffer) { return (buffer.*(&FileOf::_M_file)).fd(); }
};

bool IsOpenOnPath(std::ios& stream) {
  auto* buffer = dynamic_cast<std::filebuf*>(stream.rdbuf());
  return buffer != nullptr && buffer->is_open() &&
         std::filesystem::read_symlink("/proc/self/fd/" +
                                       std::to_string(FileOf::Descriptor(*buffer))) == g_path;
}

}  // namespace

OddStream::OddStream(const std::string& path, std::ios::iostate flag) {
  g_path = path;
  g_flag = flag;
}

OddStream::~OddStream() { g_flag = std::ios::goodbit; }

// Every opening that succeeds calls it.
void Clear(std::ios* stream, std::ios::iostate state) __asm__(IOS_CLEAR);
void Clear(std::ios* stream, std::ios::iostate state) {
  static const auto original = reinterpret_cast<decltype(&Clear)>(dlsym(RTLD_NEXT, IOS_CLEAR));
  const int error = errno;
  const bool odd = g_flag != std::ios::goodbit && IsOpenOnPath(*stream);
  errno = odd ? EXDEV : error;
  original(stream, odd ? state | g_flag : state);
}
