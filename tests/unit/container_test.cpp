#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "settings/CTCPSetting.h"
#include "settings/CTCPSettingContainer.h"
#include "tests/support/slots.h"

namespace {

const char kElementName[] = "an interned name";

// The container "tcp_rmem_min" with its two children, as the catalogue builds it.
class Container : public testing::Test {
 protected:
  Container() {
    rmem.AddChild(&rmem_default);
    rmem.AddChild(&rmem_max);
  }

  // Reads `text` as the container's file and answers the stream's state afterwards.
  std::ios::iostate Read(const std::string& text) {
    std::istringstream stream(text);
    rmem.ReadValue(stream);
    return stream.rdstate();
  }

  std::vector<std::string> PreviousValues() const {
    return {rmem.GetPrevValue(), rmem_default.GetPrevValue(), rmem_max.GetPrevValue()};
  }

  CTCPSettingContainer rmem{"tcp_rmem_min", "1", "tcp_rmem", kElementName};
  CTCPSetting rmem_default{"tcp_rmem_default", "2", "tcp_rmem", kElementName, &rmem};
  CTCPSetting rmem_max{"tcp_rmem_max", "3", "tcp_rmem", kElementName, &rmem};
};

using Values = std::vector<std::string>;

TEST_F(Container, WithoutChildrenWritesAndReadsLikeAPlainSetting) {
  CTCPSettingContainer alone("tcp_mem_low", "49152", "tcp_mem", kElementName);
  EXPECT_EQ(alone.GetWriteValue(), "49152");
  std::istringstream stream("7 8");
  alone.ReadValue(stream);
  EXPECT_STREQ(alone.GetPrevValue(), "7");
  EXPECT_EQ(stream.peek(), ' ');
}

TEST_F(Container, PassesItsArgumentsOnUnchanged) {
  EXPECT_STREQ(rmem.GetName(), "tcp_rmem_min");
  EXPECT_STREQ(rmem.GetValue(), "1");
  EXPECT_STREQ(rmem.GetPrevValue(), "1");
  EXPECT_EQ(rmem.GetXmlName(), kElementName);
}

TEST_F(Container, ReadsItsOwnWordAndThenEachChilds) {
  Read("4096\t87380\t174760\n");
  EXPECT_EQ(PreviousValues(), (Values{"4096", "87380", "174760"}));
}

TEST_F(Container, ReadingLeavesValuesAlone) {
  Read("4096\t87380\t174760\n");
  EXPECT_EQ(rmem.GetWriteValue(), "1 2 3");
}

TEST_F(Container, KeepsLaterChildrenWhenTheFileIsShort) {
  EXPECT_TRUE(Read("4096\n") & std::ios::failbit);
  EXPECT_EQ(PreviousValues(), (Values{"4096", "2", "3"}));
}

TEST_F(Container, KeepsTheLastChildWhenTheFileHoldsTwoOfThreeValues) {
  EXPECT_TRUE(Read("4096 87380") & std::ios::failbit);
  EXPECT_EQ(PreviousValues(), (Values{"4096", "87380", "3"}));
}

TEST_F(Container, IgnoresAFourthValue) {
  EXPECT_EQ(Read("4096 87380 174760 9\n"), std::ios::goodbit);
  EXPECT_EQ(PreviousValues(), (Values{"4096", "87380", "174760"}));
}

TEST_F(Container, ReadsNoChildFromAStreamThatHadFailedBefore) {
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
  EXPECT_TRUE(Read("4096") & std::ios::failbit);
  EXPECT_EQ(child.count, 1);
}

TEST_F(Container, KeepsAllPreviousValuesWhenTheFileIsEmpty) {
  EXPECT_TRUE(Read("") & std::ios::failbit);
  EXPECT_EQ(PreviousValues(), (Values{"1", "2", "3"}));
}

TEST_F(Container, JoinsItsChildrensValuesWithSingleBlanks) {
  rmem.SetValue("49152");
  rmem_default.SetValue("65536");
  rmem_max.SetValue("98304");
  EXPECT_EQ(rmem.GetWriteValue(), "49152 65536 98304");
}

TEST_F(Container, WritesTwoBlanksForAnEmptyChild) {
  rmem_default.SetValue("");
  EXPECT_EQ(rmem.GetWriteValue(), "1  3");
}

TEST_F(Container, WritesATrailingBlankForAnEmptyLastChild) {
  rmem_max.SetValue("");
  EXPECT_EQ(rmem.GetWriteValue(), "1 2 ");
}

TEST_F(Container, WritesALeadingBlankWhenItsOwnValueIsEmpty) {
  rmem.SetValue("");
  EXPECT_EQ(rmem.GetWriteValue(), " 2 3");
}

TEST_F(Container, WritesNulBytesOfTheWordsThatWereRead) {
  const std::string text{"4\0 8\0 9\0", 8};
  Read(text);
  for (CTCPSetting* setting : {static_cast<CTCPSetting*>(&rmem), &rmem_default, &rmem_max}) {
    setting->SetPrev();
  }
  EXPECT_EQ(rmem.GetWriteValue(), text);
}

TEST_F(Container, ShowsItsOwnValueAndNotTheJoinedText) { EXPECT_STREQ(rmem.GetValue(), "1"); }

TEST_F(Container, ResetsItsOwnValueOnly) {
  Read("4096 87380 174760");
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
  rmem.AddChild(&rmem_default);
  EXPECT_EQ(rmem.GetWriteValue(), "1 2 3 2");
  CTCPSettingContainer holder("holder", "0", "file", kElementName);
  holder.AddChild(nullptr);  // accepted; nobody looks at it before the next pass
  CTCPSetting stranger("stranger", "9", "other", kElementName, nullptr);
  rmem.AddChild(&stranger);
  EXPECT_FALSE(stranger.HasParent());
  EXPECT_EQ(rmem.GetWriteValue(), "1 2 3 2 9");
}

TEST_F(Container, HasNoParentWhileEachChildHas) {
  EXPECT_FALSE(rmem.HasParent());
  EXPECT_TRUE(rmem_default.HasParent());
  EXPECT_TRUE(rmem_max.HasParent());
}

TEST_F(Container, LiesUnderIpv4) {
  const CTCPSettingContainer port("tcp_port_min", "4096", "ip_local_port_range", kElementName);
  EXPECT_EQ(port.GetProcPath(), "/proc/sys/net/ipv4/ip_local_port_range");
}

TEST_F(Container, LeavesItsChildrenAliveWhenItIsDestroyed) {
  auto container = std::make_unique<CTCPSettingContainer>("c", "0", "file", kElementName);
  const auto child =
      std::make_unique<CTCPSetting>("child", "5", "file", kElementName, container.get());
  container->AddChild(child.get());
  container.reset();
  EXPECT_STREQ(child->GetValue(), "5");
}

TEST_F(Container, AnswersItsVirtualOperationsInSlotOrder) {
  std::istringstream stream("7 8 9");
  EXPECT_EQ(CallSlot<std::string>(&rmem, 2), "1 2 3");
  CallSlot<void>(&rmem, 3, static_cast<std::istream*>(&stream));
  EXPECT_EQ(PreviousValues(), (Values{"7", "8", "9"}));
  EXPECT_EQ(CallSlot<std::string>(&rmem, 4), "/proc/sys/net/ipv4/tcp_rmem");
}

TEST_F(Container, IsASetting) {
  EXPECT_TRUE((std::is_base_of_v<CTCPSetting, CTCPSettingContainer>));
  EXPECT_EQ(sizeof(CTCPSettingContainer), sizeof(CTCPSetting) + sizeof(std::vector<CTCPSetting*>));
}

}  // namespace
