// What the kernel makes of values that it takes: other notations, other numbers of words.

#include "tests/kernel/fixture.h"

namespace {

using testing::IsEmpty;

struct Case {
  Named named;
  const char* text;  // that the file holds afterwards
};

Named Rmem(const char* min, const char* default_size, const char* max) {
  return {
      {"tcp_rmem_min", min},
      {"tcp_rmem_default", default_size},
      {"tcp_rmem_max", max},
  };
}

Named FinTimeout(const char* value) {
  return {
      {"tcp_fin_timeout", value},
  };
}

class ValuesTest : public KernelTest {
 protected:
  ValuesTest() {
    SetKernel("ipv4/tcp_fin_timeout", "31");
    SetKernel("ipv4/tcp_rmem", "5000 50000 500000");
    before = ReadKernel();
  }

  // Serves each case with a layer of its own.
  void ExpectFile(const std::string& file, const std::vector<Case>& cases) {
    for (const Case& c : cases) {
      SCOPED_TRACE(testing::PrintToString(c.named));
      auto layer = NewLayer();
      EXPECT_TRUE(Configure(*layer, c.named));
      EXPECT_EQ(KernelText(file), c.text);
      layer->Release();
      EXPECT_THAT(Changes(before, ReadKernel()), IsEmpty());
    }
  }

  KernelState before;
};

TEST_F(ValuesTest, HexadecimalAndOctalNumbersAreTakenAsSuch) {
  ExpectFile("ipv4/tcp_fin_timeout", {
                                         {FinTimeout("0x3c"), "60"},
                                         {FinTimeout("0X3D"), "61"},
                                         {FinTimeout("017"), "15"},
                                     });
}

TEST_F(ValuesTest, WhiteSpaceAroundANumberDoesNotMatter) {
  ExpectFile("ipv4/tcp_fin_timeout", {
                                         {FinTimeout(" 20"), "20"},
                                         {FinTimeout("21\t"), "21"},
                                         {FinTimeout("\n  22\n"), "22"},
                                     });
}

TEST_F(ValuesTest, AnEmptyValueLeavesTheFileAsItIs) {
  ExpectFile("ipv4/tcp_fin_timeout", {
                                         {FinTimeout(""), "31"},
                                         {FinTimeout(" "), "31"},
                                     });
}

TEST_F(ValuesTest, WordsBeyondThoseOfTheFileAreDropped) {
  ExpectFile("ipv4/tcp_fin_timeout", {
                                         {FinTimeout("20 21"), "20"},
                                         {FinTimeout("22 junk"), "22"},
                                     });
  ExpectFile("ipv4/tcp_rmem", {
                                  {Rmem("6000", "60000", "600000 7"), "6000 60000 600000"},
                              });
}

TEST_F(ValuesTest, FewerWordsThanTheFileHoldsLeaveItsLastOnesAsTheyAre) {
  ExpectFile("ipv4/tcp_rmem", {
                                  {Rmem("6000", "60000", ""), "6000 60000 500000"},
                                  {Rmem("6000", "", ""), "6000 50000 500000"},
                                  {Rmem("", "", ""), "5000 50000 500000"},
                              });
}

TEST_F(ValuesTest, AnEmptyValueBeforeOthersLetsThemMoveUpInTheFile) {
  ExpectFile("ipv4/tcp_rmem", {
                                  {Rmem("", "60000", "600000"), "60000 600000 500000"},
                                  {Rmem("6000", "", "600000"), "6000 600000 500000"},
                              });
}

TEST_F(ValuesTest, OneValueMayHoldTheWordsOfTheNext) {
  ExpectFile("ipv4/tcp_rmem", {
                                  {Rmem("6000 60000", "600000", ""), "6000 60000 600000"},
                              });
}

}  // namespace
