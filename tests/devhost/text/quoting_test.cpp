// Foreign text within a line.

#include "devhost/kaehost/text/quoting.h"

#include <gtest/gtest.h>

#include <string>

using devhost::Quoted;
using devhost::Shown;

TEST(Shown, HasASpaceForWhiteSpace) {
  for (const std::string space : {" ", "\t", "\n", "\v", "\f", "\r"}) {
    EXPECT_EQ(Shown("a" + space + "b", 10), "a b") << testing::PrintToString(space);
  }
}

TEST(Shown, HasNamesForOtherControlCharacters) {
  EXPECT_EQ(Shown("a\x1b\xe2\x80\xae", 10), "a<U+001B><U+202E>");
}

TEST(Shown, KeepsAllOtherCharacters) {
  for (const std::string text :
       {" ", "~", "\xc2\xa0", "\xc3\xa9", "\xe2\x82\xac", "\xc2", "\xff"}) {
    EXPECT_EQ(Shown(text, 10), text) << testing::PrintToString(text);
  }
}

TEST(Shown, IsCutBetweenCharacters) {
  EXPECT_EQ(Shown("abc", 3), "abc");
  EXPECT_EQ(Shown("abcd", 3), "abc...");
  EXPECT_EQ(Shown("ab\xe2\x82\xac", 3), "ab...");
  EXPECT_EQ(Shown("ab\xe2\x82\xac", 5), "ab\xe2\x82\xac");
}

TEST(Quoted, IsShort) {
  EXPECT_EQ(Quoted(std::string(40, 'x')), '"' + std::string(40, 'x') + '"');
  EXPECT_EQ(Quoted(std::string(41, 'x')), '"' + std::string(40, 'x') + "...\"");
}
