#include "devhost/kaehost/text/numbers.h"

#include <cerrno>
#include <cstdlib>

namespace devhost {
namespace {

// Returns the number that the text is; where there is no such long one, the nearest, with ERANGE in
// errno.
std::optional<long long> Nearest(const std::string& text) {
  char* end = nullptr;
  errno = 0;
  const long long number = std::strtoll(text.c_str(), &end, 0);
  const auto read = static_cast<std::size_t>(end - text.c_str());
  const bool whole = read > 0 && text.find_first_not_of(" \t\r\n", read) == std::string::npos;
  return whole ? std::optional(number) : std::nullopt;
}

}  // namespace

std::optional<long long> Number(const std::string& text) {
  const std::optional<long long> number = Nearest(text);
  return errno == 0 ? number : std::nullopt;
}

std::string AboutNoNumber(const std::string& text) {
  return Nearest(text) && errno == ERANGE
             ? "is out of range for some kernels; write a number closer to 0"
             : "is not an integer to the kernel; write one";
}

}  // namespace devhost
