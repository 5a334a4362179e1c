// Numbers as kaehost reads them, against the kernel itself.

#include "devhost/kaehost/text/numbers.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <fstream>
#include <optional>
#include <string>

using devhost::AboutNoInteger;
using devhost::Decimal;
using devhost::Integer;
using devhost::ReadInteger;

namespace {

// A tunable of this namespace that holds any number of its kind.
constexpr const char* kInt = "/proc/sys/net/ipv4/tcp_max_syn_backlog";
constexpr const char* kUnsignedLong = "/proc/sys/net/ipv4/ipfrag_high_thresh";

std::string Content(const char* path) {
  std::string text;
  std::getline(std::ifstream(path), text);
  return text;
}

// clang-format off
constexpr const char* kTexts[] = {
    "0", "5", "-5", "+5", "-0", "--5", "-+5", "- 5", "-", "+", "5x", "5,", "5;", "5.0", "5e3", "five",
    " 5", "5 ", " -5\n", "\t5\t\n", "\r5", "5\r", "5\r\n", "5 \r\n", "\v5", "5\v", "\f5", "5\f",
    " ", "\n", "5\xa0", "0x3c", "0X3C", "0x3C", "0x", "0xg", "0x 5", "-0x3c", "x3c", "3c", "00x5",
    "017", "-017", "08", "018", "00", "0b11", "0o17",
    "2147483647", "-2147483648", "0x7fffffff",
    "00000000000000000005", "000000000000000000005",
    "-0000000000000000005", "-00000000000000000005",
    "0x00000000000000003c", "0x000000000000000003c",
};
// clang-format on

// Returns what the kernel reads, none if it rejects the text.
std::optional<std::string> ReadByTheKernel(const char* path, const std::string& text) {
  const std::string original = Content(path);
  const std::string before = "7777777";
  std::ofstream(path) << before << std::flush;
  EXPECT_EQ(Content(path), before);
  const int file = open(path, O_WRONLY | O_CLOEXEC);
  const bool is_accepted = write(file, text.data(), text.size()) > 0;
  close(file);
  EXPECT_TRUE(is_accepted || Content(path) == before) << testing::PrintToString(text);
  const std::string after = Content(path);
  std::ofstream(path) << original;
  return is_accepted ? std::optional(after) : std::nullopt;
}

std::optional<std::string> ReadByKaehost(const std::string& text) {
  const std::optional<Integer> integer = ReadInteger(text);
  return integer ? std::optional(Decimal(*integer)) : std::nullopt;
}

}  // namespace

TEST(Numbers, AreReadAsTheKernelReadsThem) {
  for (const std::string text : kTexts) {
    EXPECT_EQ(ReadByKaehost(text), ReadByTheKernel(kInt, text)) << testing::PrintToString(text);
  }
}

// A kernel with a long of 32 bits rejects numbers that other kernels accept.
TEST(Numbers, HaveNoMoreBitsThanAnUnsignedLong) {
  const bool is_short = !ReadByTheKernel(kUnsignedLong, "4294967296");
  EXPECT_TRUE(!is_short || sizeof(long) == 4);
  const unsigned long long greatest = is_short ? 4294967295 : ULLONG_MAX;
  for (const std::string text :
       {"7777778", "4294967295", "4294967296", "9223372036854775807", "9223372036854775808",
        "18446744073709551615", "18446744073709551616", "99999999999999999999",
        "0xffffffffffffffff", "0xfffffffffffffffff", "0777777777777777777777"}) {
    const std::optional<std::string> read = ReadByKaehost(text);
    const bool fits = read && std::stoull(*read) <= greatest;
    EXPECT_EQ(fits ? read : std::nullopt, ReadByTheKernel(kUnsignedLong, text)) << text;
  }
}

TEST(Numbers, HaveASignOnlyIfTheyAreNotZero) {
  EXPECT_EQ(ReadInteger("-0"), (Integer{false, 0}));
  EXPECT_EQ(ReadInteger("-1"), (Integer{true, 1}));
  EXPECT_EQ(Decimal({true, 1}), "-1");
}

TEST(Numbers, AreToldFromOtherTexts) {
  EXPECT_EQ(AboutNoInteger("+1"), "is not an integer to the kernel; write one");
  EXPECT_EQ(AboutNoInteger(""), "is not an integer to the kernel; write one");
  EXPECT_EQ(AboutNoInteger("18446744073709551616"),
            "is out of range for every kernel; write a number closer to 0");
  EXPECT_EQ(AboutNoInteger("000000000000000000001"),
            "has more characters than the kernel reads; write it with at most 20");
}
