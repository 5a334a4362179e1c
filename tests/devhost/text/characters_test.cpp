// Characters that do something to a terminal, or that nobody sees.

#include "devhost/kaehost/text/characters.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using devhost::Escaped;
using devhost::InvisibleIn;
using devhost::Visible;

namespace {

const std::vector<std::pair<std::string, std::string>> kCommands = {
    {std::string(1, '\0'), "U+0000"},
    {"\n", "U+000A"},
    {"\x1b", "U+001B"},
    {"\x1f", "U+001F"},
    {"\x7f", "U+007F"},
    {"\xc2\x80", "U+0080"},
    {"\xc2\x9f", "U+009F"},
    {"\xd8\x9c", "U+061C"},
    {"\xe2\x80\x8e", "U+200E"},
    {"\xe2\x80\x8f", "U+200F"},
    {"\xe2\x80\xa8", "U+2028"},
    {"\xe2\x80\xae", "U+202E"},
    {"\xe2\x81\xa6", "U+2066"},
    {"\xe2\x81\xa9", "U+2069"},
    {"\xc0\x9b", "U+001B"},  // longer than necessary
    {"\x9b", "0x9B"},        // a control character to a terminal without UTF-8
};

// No commands, also at the borders of those.
const char* const kOthers[] = {" ",
                               "~",
                               "\xc2\xa0",
                               "\xc3\xa9",
                               "\xd8\x9b",
                               "\xd8\x9d",
                               "\xe2\x80\x8d",
                               "\xe2\x80\x90",
                               "\xe2\x80\xa7",
                               "\xe2\x80\xaf",
                               "\xe2\x81\xa5",
                               "\xe2\x81\xaa",
                               "\xf0\x9f\x98\x80",
                               "\xff",
                               "\xc2",
                               "\xa0",
                               "\xf8\xa0"};

}  // namespace

TEST(Visible, HasANameForEachCommand) {
  for (const auto& [command, name] : kCommands) {
    EXPECT_EQ(Visible("a" + command + "b"), "a<" + name + ">b");
    EXPECT_EQ(Visible(command), "<" + name + ">");
  }
}

TEST(Visible, KeepsAllElse) {
  for (const std::string other : kOthers) {
    EXPECT_EQ(Visible(other + "b"), other + "b") << testing::PrintToString(other);
    EXPECT_EQ(Visible(other), other) << testing::PrintToString(other);
  }
  EXPECT_EQ(Visible("\xf8\x80\x80\x80\x9b"), "\xf8<0x80><0x80><0x80><0x9B>");
  EXPECT_EQ(Visible("\xc2\x1b"), "\xc2<U+001B>");
  EXPECT_EQ(Visible("\xe3\x81"
                    "b"),
            "\xe3<0x81>b");
  EXPECT_EQ(Visible("a\tb\n\r", "\n\t"), "a\tb\n<U+000D>");
}

TEST(Escaped, HasAnEscapeSequenceForEachCommand) {
  EXPECT_EQ(Escaped("{\n  \"a\": \"\x7f\xc2\x9b\xe2\x80\xae\xc3\xa9\"\n}"),
            "{\n  \"a\": \"\\u007F\\u009B\\u202E\xc3\xa9\"\n}");
}

TEST(InvisibleIn, NamesTheFirst) {
  EXPECT_EQ(InvisibleIn(""), "");
  EXPECT_EQ(InvisibleIn("a\tb\r \xc3\xa9\x9b"), "");
  EXPECT_EQ(InvisibleIn(std::string("a\0b", 3)), "a NUL byte");
  for (const auto& [text, code] :
       std::vector<std::pair<std::string, std::string>>{{"\xc2\xa0", "U+00A0"},
                                                        {"\xc2\xad", "U+00AD"},
                                                        {"\xe2\x80\x8b", "U+200B"},
                                                        {"\xe2\x80\x8d", "U+200D"},
                                                        {"\xe2\x80\xaf", "U+202F"},
                                                        {"\xe2\x81\xa0", "U+2060"},
                                                        {"\xef\xbb\xbf", "U+FEFF"},
                                                        {"\xe2\x80\xae\x01", "U+202E"},
                                                        {"\x01\xe2\x80\xae", "U+0001"},
                                                        {"\x7f", "U+007F"}}) {
    EXPECT_EQ(InvisibleIn("a\xc3\xa9" + text), "an invisible character, " + code);
  }
}
