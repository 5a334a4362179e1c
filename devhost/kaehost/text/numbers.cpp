#include "devhost/kaehost/text/numbers.h"

#include <charconv>
#include <string_view>
#include <system_error>

namespace devhost {
namespace {

// What the kernel skips before a number, and what it accepts directly after one.
constexpr const char* kSpaces = " \t\n\v\f\r";
constexpr const char* kEnds = " \t\n";

constexpr std::size_t kLongest = 20;  // characters of a number, also with zeros

// Returns the text without the white space around a number; all of it if it is more than a number.
std::string WordOf(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(kSpaces);
  if (begin == std::string::npos) {
    return "";
  }
  const std::size_t end = text.find_first_of(kEnds, begin);
  const bool is_one_word = text.find_first_not_of(kSpaces, end) == std::string::npos;
  return is_one_word ? text.substr(begin, end - begin) : text;
}

struct Parsed {
  std::optional<Integer> integer;
  bool is_too_large = false;
};

Parsed Parse(std::string_view word) {
  const bool is_negative = word.starts_with('-');
  std::string_view digits = word.substr(is_negative ? 1 : 0);
  int base = digits.starts_with('0') ? 8 : 10;
  if (digits.starts_with("0x") || digits.starts_with("0X")) {
    digits.remove_prefix(2);
    base = 16;
  }
  unsigned long long magnitude = 0;
  const char* end = digits.data() + digits.size();
  const auto [read_to, error] = std::from_chars(digits.data(), end, magnitude, base);
  if (read_to != end || error == std::errc::invalid_argument) {
    return {};
  }
  if (error == std::errc::result_out_of_range) {
    return {.integer = {}, .is_too_large = true};
  }
  return {
      .integer = Integer{is_negative && magnitude > 0, magnitude}
  };
}

}  // namespace

std::optional<Integer> ReadInteger(const std::string& text) {
  const std::string word = WordOf(text);
  return word.size() <= kLongest ? Parse(word).integer : std::nullopt;
}

std::string Decimal(const Integer& integer) {
  return (integer.is_negative ? "-" : "") + std::to_string(integer.magnitude);
}

std::string AboutNoInteger(const std::string& text) {
  const std::string word = WordOf(text);
  const Parsed parsed = Parse(word);
  if (parsed.is_too_large) {
    return "is out of range for every kernel; write a number closer to 0";
  }
  return parsed.integer ? "has more characters than the kernel reads; write it with at most " +
                              std::to_string(kLongest)
                        : "is not an integer to the kernel; write one";
}

}  // namespace devhost
