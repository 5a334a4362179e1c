#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "settings/CTCPSetting.h"
#include "settings/CTCPSettingContainer.h"

namespace {

const char kElementName[] = "an interned name";

using Values = std::vector<std::string>;

// The container "tcp_rmem_min" with its two children, as the catalogue builds it.
class Container : public testing::Test {
 protected:
  Container() {
    rmem.AddChild(&rmem_default);
    rmem.AddChild(&rmem_max);
  }

  Values PreviousValues() const {
    return {rmem.GetPrevValue(), rmem_default.GetPrevValue(), rmem_max.GetPrevValue()};
  }

  CTCPSettingContainer rmem{"tcp_rmem_min", "1", "tcp_rmem", kElementName};
  CTCPSetting rmem_default{"tcp_rmem_default", "2", "tcp_rmem", kElementName, &rmem};
  CTCPSetting rmem_max{"tcp_rmem_max", "3", "tcp_rmem", kElementName, &rmem};
};

TEST_F(Container, WithoutChildrenWritesAndReadsLikeAPlainSetting) {
  CTCPSettingContainer alone("tcp_mem_low", "49152", "tcp_mem", kElementName);
  EXPECT_EQ(alone.GetWriteValue(), "49152");
  std::istringstream stream("7 8");
  alone.ReadValue(stream);
  EXPECT_STREQ(alone.GetPrevValue(), "7");
  EXPECT_EQ(stream.peek(), ' ');
}

TEST_F(Container, PassesItsArgumentsOnAndHasNoParentWhileEachChildHas) {
  const CTCPSettingContainer port("tcp_port_min", "4096", "ip_local_port_range", kElementName);
  EXPECT_STREQ(port.GetName(), "tcp_port_min");
  EXPECT_STREQ(port.GetValue(), "4096");
  EXPECT_EQ(port.GetProcPath(), "/proc/sys/net/ipv4/ip_local_port_range");
  EXPECT_EQ(port.GetXmlName(), kElementName);
  EXPECT_FALSE(port.HasParent());
  EXPECT_TRUE(rmem_default.HasParent());
  EXPECT_TRUE(rmem_max.HasParent());
}

// Each file is read on top of what the one before has left.
TEST_F(Container, ReadsItsOwnWordAndThenEachChildsAndKeepsWhatAShortFileLacks) {
  const struct {
    const char* file;
    std::ios::iostate state;
    Values previous;
  } cases[] = {
      {"4096\t87380\t174760\n", std::ios::goodbit, {"4096", "87380", "174760"}},
      {"5 6 7 8\n", std::ios::goodbit, {"5", "6", "7"}},
      {"8 9", std::ios::eofbit | std::ios::failbit, {"8", "9", "7"}},
      {"4\n", std::ios::eofbit | std::ios::failbit, {"4", "9", "7"}},
      {"", std::ios::eofbit | std::ios::failbit, {"4", "9", "7"}},
  };
  for (const auto& c : cases) {
    std::istringstream stream(c.file);
    rmem.ReadValue(stream);
    EXPECT_EQ(PreviousValues(), c.previous) << c.file;
    EXPECT_EQ(stream.rdstate(), c.state) << c.file;
    EXPECT_EQ(rmem.GetWriteValue(), "1 2 3") << "values are left alone";
  }
}

TEST_F(Container, ReadsNothingFromAStreamThatHadFailedBefore) {
  std::istringstream stream("4096 87380 174760");
  stream.setstate(std::ios::failbit);
  rmem.ReadValue(stream);
  EXPECT_EQ(PreviousValues(), (Values{"1", "2", "3"}));
  EXPECT_TRUE(stream.fail());
}

TEST_F(Container, AsksEveryChildToReadWhateverTheStreamsState) {
  struct CountingChild : CTCPSetting {
    using CTCPSetting::CTCPSetting;
    void ReadValue(std::istream& /*stream*/) override { ++count; }
    int count = 0;
  };
  CountingChild child("child", "0", "tcp_rmem", kElementName, &rmem);
  rmem.AddChild(&child);
  std::istringstream stream("4096");
  rmem.ReadValue(stream);
  EXPECT_TRUE(stream.fail());
  EXPECT_EQ(child.count, 1);
}

TEST_F(Container, JoinsItsOwnValueAndEachChildsBySingleBlanksEmptyOnesToo) {
  const struct {
    const char* own;
    const char* first;
    const char* last;
    const char* text;
  } cases[] = {
      {"49152", "65536", "98304", "49152 65536 98304"},
      {"1", "", "3", "1  3"},
      {"1", "2", "", "1 2 "},
      {"", "2", "3", " 2 3"},
  };
  for (const auto& c : cases) {
    rmem.SetValue(c.own);
    rmem_default.SetValue(c.first);
    rmem_max.SetValue(c.last);
    EXPECT_EQ(rmem.GetWriteValue(), c.text);
    EXPECT_STREQ(rmem.GetValue(), c.own) << "it shows its own value";
  }
}

TEST_F(Container, WritesNulBytesOfTheWordsThatWereRead) {
  const std::string text{"4\0 8\0 9\0", 8};
  std::istringstream stream(text);
  rmem.ReadValue(stream);
  for (CTCPSetting* setting : {static_cast<CTCPSetting*>(&rmem), &rmem_default, &rmem_max}) {
    setting->SetPrev();
  }
  EXPECT_EQ(rmem.GetWriteValue(), text);
}

TEST_F(Container, ResetsItsOwnValueOnly) {
  std::istringstream stream("4096 87380 174760");
  rmem.ReadValue(stream);
  rmem.SetPrev();
  EXPECT_EQ(rmem.GetWriteValue(), "4096 2 3");
  rmem_default.SetPrev();
  rmem.SetDefault();
  EXPECT_EQ(rmem.GetWriteValue(), "1 87380 3");
}

TEST_F(Container, LetsANestedContainerContributeItsJoinedText) {
  CTCPSettingContainer outer("outer", "0", "file", kElementName);
  outer.AddChild(&rmem);
  outer.AddChild(&rmem_max);
  EXPECT_EQ(outer.GetWriteValue(), "0 1 2 3 3");
  std::istringstream stream("a b c d e");
  outer.ReadValue(stream);
  EXPECT_STREQ(outer.GetPrevValue(), "a");
  EXPECT_EQ(PreviousValues(), (Values{"b", "c", "e"}));
}

TEST_F(Container, AddsWhatItIsGivenWithoutATest) {
  CTCPSettingContainer holder("holder", "0", "file", kElementName);
  holder.AddChild(nullptr);  // accepted; nobody looks at it before the next pass
  CTCPSetting stranger("stranger", "9", "other", kElementName, nullptr);
  rmem.AddChild(&stranger);
  rmem.AddChild(&rmem_default);
  EXPECT_FALSE(stranger.HasParent());
  EXPECT_EQ(rmem.GetWriteValue(), "1 2 3 9 2");
}

TEST_F(Container, LeavesItsChildrenAliveWhenItIsDestroyed) {
  auto container = std::make_unique<CTCPSettingContainer>("c", "0", "file", kElementName);
  const auto child =
      std::make_unique<CTCPSetting>("child", "5", "file", kElementName, container.get());
  container->AddChild(child.get());
  container.reset();
  EXPECT_STREQ(child->GetValue(), "5");
}

TEST_F(Container, AddsOneListToTheLayoutOfASetting) {
  EXPECT_EQ(sizeof(CTCPSettingContainer), sizeof(CTCPSetting) + sizeof(std::vector<CTCPSetting*>));
}

}  // namespace
