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

TEST(Setting, StartsWithItsDefaultAsValueAndAsPreviousValue) {
  const CTCPSetting setting = Sack("4096");
  EXPECT_STREQ(setting.GetValue(), "4096");
  EXPECT_STREQ(setting.GetPrevValue(), "4096");
}

TEST(Setting, TakesNameThenDefaultThenFileThenElementName) {
  const CTCPSetting setting("a name", "a default", "a_file", kElementName, nullptr);
  EXPECT_STREQ(setting.GetName(), "a name");
  EXPECT_STREQ(setting.GetValue(), "a default");
  EXPECT_EQ(setting.GetProcPath(), "/proc/sys/net/ipv4/a_file");
  EXPECT_EQ(setting.GetXmlName(), kElementName);
}

TEST(Setting, CopiesItsThreeTexts) {
  char name[] = "name";
  char default_value[] = "default";
  char file[] = "file";
  CTCPSetting setting(name, default_value, file, kElementName, nullptr);
  name[0] = default_value[0] = file[0] = '!';
  EXPECT_STREQ(setting.GetName(), "name");
  EXPECT_STREQ(setting.GetValue(), "default");
  EXPECT_STREQ(setting.GetPrevValue(), "default");
  setting.SetValue("other");
  setting.SetDefault();
  EXPECT_STREQ(setting.GetValue(), "default");
  EXPECT_EQ(setting.GetProcPath(), "/proc/sys/net/ipv4/file");
}

TEST(Setting, HasNoParentWhenThePointerIsNull) { EXPECT_FALSE(Sack().HasParent()); }

TEST(Setting, HasAParentWhenThePointerIsNotNull) {
  const CTCPSetting parent = Sack();
  EXPECT_TRUE(CTCPSetting("child", "0", "file", kElementName, &parent).HasParent());
}

TEST(Setting, AnswersTheElementNamePointerItWasGiven) {
  const std::string another_copy = kElementName;
  EXPECT_EQ(Sack().GetXmlName(), kElementName);
  EXPECT_NE(Sack().GetXmlName(), another_copy.c_str());
}

TEST(Setting, SetDefaultGivesTheDefaultBackAndSetPrevThePreviousValue) {
  CTCPSetting setting = Sack("4096");
  ReadAndLeave(setting, "7");
  setting.SetValue("1");
  EXPECT_STREQ(setting.GetValue(), "1");
  setting.SetDefault();
  EXPECT_STREQ(setting.GetValue(), "4096");
  setting.SetPrev();
  EXPECT_STREQ(setting.GetValue(), "7");
}

TEST(Setting, KeepsThePreviousValueWhateverBecomesOfTheValue) {
  CTCPSetting setting = Sack("4096");
  ReadAndLeave(setting, "7");
  setting.SetValue("1");
  EXPECT_STREQ(setting.GetPrevValue(), "7");
  setting.SetDefault();
  EXPECT_STREQ(setting.GetPrevValue(), "7");
  setting.SetPrev();
  EXPECT_STREQ(setting.GetPrevValue(), "7");
}

TEST(Setting, KeepsItsDefaultWhateverBecomesOfTheValue) {
  CTCPSetting setting = Sack("4096");
  setting.SetValue("1");
  ReadAndLeave(setting, "7");
  setting.SetPrev();
  setting.SetDefault();
  EXPECT_STREQ(setting.GetValue(), "4096");
}

TEST(Setting, CopiesTheValueItIsGiven) {
  CTCPSetting setting = Sack();
  char text[] = "12";
  setting.SetValue(text);
  text[0] = '9';
  EXPECT_STREQ(setting.GetValue(), "12");
}

TEST(Setting, AnswersItsOwnTextsWhichStayUntilTheyChange) {
  CTCPSetting setting = Sack();
  CTCPSetting other("other", "2", "file", kElementName, nullptr);
  const char* name = setting.GetName();
  const char* value = setting.GetValue();
  const char* previous = setting.GetPrevValue();
  EXPECT_NE(other.GetName(), name);
  EXPECT_NE(other.GetValue(), value);
  EXPECT_NE(other.GetPrevValue(), previous);
  EXPECT_STREQ(name, "tcp_sack");
  EXPECT_STREQ(value, "1");
  EXPECT_STREQ(previous, "1");
  EXPECT_EQ(setting.GetName(), name);
  EXPECT_EQ(setting.GetValue(), value);
  EXPECT_EQ(setting.GetPrevValue(), previous);
}

TEST(Setting, StoresAValueExactlyAsItComes) {
  CTCPSetting setting = Sack();
  for (const char* text : {"", " 1 ", "no number", "0x3c\n", "%s%n", "\t"}) {
    setting.SetValue(text);
    EXPECT_STREQ(setting.GetValue(), text);
    EXPECT_EQ(setting.GetWriteValue(), text);
  }
}

TEST(Setting, WritesItsValueEvenWhenItIsEmpty) {
  CTCPSetting setting = Sack();
  EXPECT_EQ(setting.GetWriteValue(), "1");
  setting.SetValue("");
  EXPECT_EQ(setting.GetWriteValue(), "");
}

TEST(Setting, ReadsAWordAfterBlanksIntoThePreviousValueAlone) {
  CTCPSetting setting = Sack();
  ReadAndLeave(setting, "  87380\n");
  EXPECT_STREQ(setting.GetPrevValue(), "87380");
  EXPECT_STREQ(setting.GetValue(), "1");
}

TEST(Setting, LeavesTheRestOfTheStreamFromTheFirstWhitespaceOn) {
  CTCPSetting setting = Sack();
  EXPECT_EQ(ReadAndLeave(setting, "4096\t87380\t174760"), "\t87380\t174760");
  EXPECT_STREQ(setting.GetPrevValue(), "4096");
}

TEST(Setting, TakesEveryKindOfWhitespaceForADelimiter) {
  for (const char* space : {" ", "\t", "\n", "\v", "\f", "\r"}) {
    CTCPSetting setting = Sack();
    EXPECT_EQ(ReadAndLeave(setting, space + std::string("5") + space + "6"),
              space + std::string("6"));
    EXPECT_STREQ(setting.GetPrevValue(), "5");
  }
}

TEST(Setting, ReadsAWordOfAnyLength) {
  CTCPSetting setting = Sack();
  const std::string word(1 << 20, '7');
  EXPECT_EQ(ReadAndLeave(setting, word + " 8"), " 8");
  EXPECT_EQ(setting.GetPrevValue(), word);
}

TEST(Setting, KeepsNulBytesOfAWordThatWasRead) {
  using std::string_literals::operator""s;
  CTCPSetting setting = Sack();
  ReadAndLeave(setting, "1\0002"s);
  setting.SetPrev();
  EXPECT_EQ(setting.GetWriteValue(), "1\0002"s);
  EXPECT_STREQ(setting.GetValue(), "1");
  EXPECT_STREQ(setting.GetPrevValue(), "1");
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

TEST(Setting, LiesUnderIpv4) { EXPECT_EQ(Sack().GetProcPath(), "/proc/sys/net/ipv4/tcp_sack"); }

TEST(Setting, IsNeverCopiedOrAssigned) {
  EXPECT_FALSE(std::is_copy_constructible_v<CTCPSetting>);
  EXPECT_FALSE(std::is_copy_assignable_v<CTCPSetting>);
  EXPECT_FALSE(std::is_move_constructible_v<CTCPSetting>);
  EXPECT_FALSE(std::is_move_assignable_v<CTCPSetting>);
}

TEST(Setting, IsARootClassWithAVirtualDestructor) {
  EXPECT_TRUE(std::is_polymorphic_v<CTCPSetting>);
  EXPECT_TRUE(std::has_virtual_destructor_v<CTCPSetting>);
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

TEST(CoreSetting, LiesUnderCore) {
  const CTCPCoreSetting setting("rmem_max", "2621440", "rmem_max", kElementName, nullptr);
  EXPECT_EQ(setting.GetProcPath(), "/proc/sys/net/core/rmem_max");
}

TEST(CoreSetting, PassesItsArgumentsOnUnchanged) {
  const CTCPSetting parent = Sack();
  const CTCPCoreSetting setting("a name", "a default", "a_file", kElementName, &parent);
  EXPECT_STREQ(setting.GetName(), "a name");
  EXPECT_STREQ(setting.GetValue(), "a default");
  EXPECT_EQ(setting.GetProcPath(), "/proc/sys/net/core/a_file");
  EXPECT_EQ(setting.GetXmlName(), kElementName);
  EXPECT_TRUE(setting.HasParent());
}

TEST(CoreSetting, DiffersInItsPathAlone) {
  CTCPCoreSetting setting("rmem_max", "2621440", "rmem_max", kElementName, nullptr);
  EXPECT_EQ(ReadAndLeave(setting, "1 2"), " 2");
  EXPECT_STREQ(setting.GetPrevValue(), "1");
  EXPECT_EQ(setting.GetWriteValue(), "2621440");
  EXPECT_FALSE(setting.HasParent());
  EXPECT_EQ(sizeof(CTCPCoreSetting), sizeof(CTCPSetting));
  EXPECT_TRUE((std::is_base_of_v<CTCPSetting, CTCPCoreSetting>));
}

TEST(CoreSetting, AnswersItsVirtualOperationsInSlotOrder) {
  CTCPCoreSetting setting("rmem_max", "2621440", "rmem_max", kElementName, nullptr);
  std::istringstream stream("42");
  EXPECT_EQ(CallSlot<std::string>(&setting, 2), "2621440");
  CallSlot<void>(&setting, 3, static_cast<std::istream*>(&stream));
  EXPECT_STREQ(setting.GetPrevValue(), "42");
  EXPECT_EQ(CallSlot<std::string>(&setting, 4), "/proc/sys/net/core/rmem_max");
}

}  // namespace
