#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <type_traits>

#include "settings/CTCPCoreSetting.h"
#include "settings/CTCPSetting.h"
#include "tests/support/slots.h"

namespace {

const char kElementName[] = "an interned name";

CTCPSetting Sack(const char* default_value = "1") {
  return {"tcp_sack", default_value, "tcp_sack", kElementName, nullptr};
}

// Reads `text` into the setting and answers what stays in the stream.
std::string ReadAndLeave(CTCPSetting& setting, const std::string& text) {
  std::istringstream stream(text);
  setting.ReadValue(stream);
  stream.clear();
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(Setting, StartsWithCopiesOfItsTextsAndItsDefaultAsBothValues) {
  char name[] = "name";
  char default_value[] = "4096";
  char file[] = "file";
  CTCPSetting setting(name, default_value, file, kElementName, nullptr);
  name[0] = default_value[0] = file[0] = '!';
  EXPECT_STREQ(setting.GetName(), "name");
  EXPECT_STREQ(setting.GetValue(), "4096");
  EXPECT_STREQ(setting.GetPrevValue(), "4096");
  setting.SetValue("other");
  setting.SetDefault();
  EXPECT_STREQ(setting.GetValue(), "4096");
  EXPECT_EQ(setting.GetProcPath(), "/proc/sys/net/ipv4/file");
  EXPECT_EQ(setting.GetXmlName(), kElementName) << "the pointer itself";
}

TEST(Setting, HasAParentWhenThePointerIsNotNull) {
  const CTCPSetting parent = Sack();
  EXPECT_FALSE(parent.HasParent());
  EXPECT_TRUE(CTCPSetting("child", "0", "file", kElementName, &parent).HasParent());
}

TEST(Setting, ChangesItsValueAloneWhenItIsSet) {
  CTCPSetting setting = Sack("4096");
  ReadAndLeave(setting, "7");
  setting.SetValue("1");
  EXPECT_STREQ(setting.GetValue(), "1");
  EXPECT_STREQ(setting.GetPrevValue(), "7");
  setting.SetDefault();
  EXPECT_STREQ(setting.GetValue(), "4096");
  EXPECT_STREQ(setting.GetPrevValue(), "7");
  setting.SetPrev();
  EXPECT_STREQ(setting.GetValue(), "7");
  EXPECT_STREQ(setting.GetPrevValue(), "7");
  setting.SetDefault();
  EXPECT_STREQ(setting.GetValue(), "4096");
}

TEST(Setting, AnswersItsOwnTextsWhichStayUntilTheyChange) {
  const CTCPSetting setting = Sack();
  const CTCPSetting other("other", "2", "file", kElementName, nullptr);
  const char* value = setting.GetValue();
  const char* previous = setting.GetPrevValue();
  EXPECT_NE(other.GetValue(), value);
  EXPECT_NE(other.GetPrevValue(), previous);
  EXPECT_STREQ(value, "1");
  EXPECT_STREQ(previous, "1");
}

TEST(Setting, StoresAndWritesAValueExactlyAsItComes) {
  CTCPSetting setting = Sack();
  for (const char* text : {"", " 1 ", "no number", "0x3c\n", "%s%n", "\t"}) {
    setting.SetValue(std::string(text).c_str());
    EXPECT_STREQ(setting.GetValue(), text);
    EXPECT_EQ(setting.GetWriteValue(), text);
  }
}

TEST(Setting, ReadsTheNextWordIntoThePreviousValueAndLeavesTheRest) {
  const std::string long_word(1 << 20, '7');
  const struct {
    std::string text;
    std::string word;
    std::string rest;
  } cases[] = {
      {"  87380\n", "87380", "\n"}, {"4096\t87380\t174760", "4096", "\t87380\t174760"},
      {"\n\v5\v6", "5", "\v6"},     {"\f5\f6", "5", "\f6"},
      {"\r5\r6", "5", "\r6"},       {long_word + " 8", long_word, " 8"},
  };
  for (const auto& c : cases) {
    CTCPSetting setting = Sack();
    EXPECT_EQ(ReadAndLeave(setting, c.text), c.rest);
    EXPECT_EQ(setting.GetPrevValue(), c.word);
    EXPECT_STREQ(setting.GetValue(), "1");
  }
}

TEST(Setting, KeepsNulBytesOfAWordThatWasRead) {
  using std::string_literals::operator""s;
  CTCPSetting setting = Sack();
  ReadAndLeave(setting, "1\0002"s);
  setting.SetPrev();
  EXPECT_EQ(setting.GetWriteValue(), "1\0002"s);
}

TEST(Setting, KeepsThePreviousValueAndFailsTheStreamWhenNoWordIsLeft) {
  for (const char* text : {"", " ", "\n\n"}) {
    CTCPSetting setting = Sack();
    std::istringstream stream(text);
    setting.ReadValue(stream);
    EXPECT_STREQ(setting.GetPrevValue(), "1");
    EXPECT_TRUE(stream.eof());
    EXPECT_TRUE(stream.fail());
  }
}

TEST(Setting, NeitherTestsNorClearsTheStreamsState) {
  CTCPSetting setting = Sack();
  std::istringstream stream("5");
  stream.setstate(std::ios::failbit);
  setting.ReadValue(stream);
  EXPECT_STREQ(setting.GetPrevValue(), "1");
  EXPECT_TRUE(stream.fail());
  stream.clear();
  setting.ReadValue(stream);
  EXPECT_STREQ(setting.GetPrevValue(), "5");
  EXPECT_EQ(stream.rdstate(), std::ios::eofbit);
}

TEST(Setting, IsNeverCopiedOrAssigned) {
  EXPECT_FALSE(std::is_copy_constructible_v<CTCPSetting>);
  EXPECT_FALSE(std::is_copy_assignable_v<CTCPSetting>);
}

TEST(Setting, AnswersItsVirtualOperationsInSlotOrder) {
  CTCPSetting setting = Sack();
  std::istringstream stream("42");
  EXPECT_EQ(CallSlot<std::string>(&setting, 2), "1");
  CallSlot<void>(&setting, 3, static_cast<std::istream*>(&stream));
  EXPECT_STREQ(setting.GetPrevValue(), "42");
  EXPECT_EQ(CallSlot<std::string>(&setting, 4), "/proc/sys/net/ipv4/tcp_sack");
}

// The five texts follow the pointer to the virtual table, and the two pointers follow them.
TEST(Setting, LaysItsFieldsOutInTheirOrder) {
  const CTCPSetting parent = Sack();
  CTCPSetting setting("name", "default", "file", kElementName, &parent);
  setting.SetValue("value");
  ReadAndLeave(setting, "previous");
  const auto* texts =
      reinterpret_cast<const std::string*>(reinterpret_cast<const char*>(&setting) + sizeof(void*));
  EXPECT_EQ(texts[0], "name");
  EXPECT_EQ(texts[1], "file");
  EXPECT_EQ(texts[2], "default");
  EXPECT_EQ(texts[3], "value");
  EXPECT_EQ(texts[4], "previous");
  const auto* pointers = reinterpret_cast<const void* const*>(texts + 5);
  EXPECT_EQ(pointers[0], kElementName);
  EXPECT_EQ(pointers[1], &parent);
  EXPECT_EQ(sizeof(CTCPSetting), 3 * sizeof(void*) + 5 * sizeof(std::string));
}

TEST(CoreSetting, LiesUnderCoreAndIsASettingLikeAnyOtherElse) {
  CTCPCoreSetting setting("rmem_max", "2621440", "rmem_max", kElementName, nullptr);
  EXPECT_EQ(setting.GetProcPath(), "/proc/sys/net/core/rmem_max");
  EXPECT_EQ(CallSlot<std::string>(&setting, 4), "/proc/sys/net/core/rmem_max");
  EXPECT_EQ(ReadAndLeave(setting, "1 2"), " 2");
  EXPECT_STREQ(setting.GetPrevValue(), "1");
  EXPECT_EQ(setting.GetWriteValue(), "2621440");
  EXPECT_EQ(setting.GetXmlName(), kElementName);
  EXPECT_EQ(sizeof(CTCPCoreSetting), sizeof(CTCPSetting));
}

}  // namespace
