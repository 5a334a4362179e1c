#include "devhost/kaehost/numbers.h"

#include <cerrno>
#include <cstdlib>

namespace devhost {

std::optional<long long> Number(const std::string& text) {
  char* end = nullptr;
  errno = 0;
  const long long number = std::strtoll(text.c_str(), &end, 0);
  const auto read = static_cast<std::size_t>(end - text.c_str());
  const bool whole = read > 0 && text.find_first_not_of(" \t\r\n", read) == std::string::npos;
  return whole && errno == 0 ? std::optional(number) : std::nullopt;
}

}  // namespace devhost
