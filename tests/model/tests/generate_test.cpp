#include "tests/model/generator/generate.h"

#include <gtest/gtest.h>

#include <climits>

#include "tests/model/reporter/reduce.h"
#include "tests/model/tests/features.h"
#include "tests/support/catalogue.h"

namespace model {
namespace {

// The features of 2,000 seeds, counted once for all cases of a process.
const Features& Found() {
  static const Features features = [] {
    Features found;
    for (std::uint64_t seed = 0; seed < 2000; ++seed) {
      Choices choices = Choices::FromSeed(seed);
      found.Count(Generate(choices));
    }
    return found;
  }();
  return features;
}

void ExpectFound(int at_least, const std::vector<std::string>& features) {
  for (const std::string& feature : features) {
    EXPECT_GE(Found()[feature], at_least) << feature;
  }
}

TEST(RandomScenarios, MeetEveryKindOfFileInEveryWay) {
  for (int kind = File::kText; kind <= File::kFullDevice; ++kind) {
    const std::string name = NameOf(static_cast<File::Kind>(kind));
    ExpectFound(50, {name + " at the start", name + " is read", name + " is written by a request",
                     name + " is written by a release"});
    ExpectFound(20, {name + " at once", name + " on a line"});
  }
}

TEST(RandomScenarios, NameEveryFileAndEverySetting) {
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    ExpectFound(20,
                {std::string(setting.file) + " is named", std::string("interned ") + setting.name});
    ExpectFound(3, {std::string("stray ") + setting.name});
  }
}

TEST(RandomScenarios, NameElementsThatAreNoSettings) {
  for (const char* name : {"tcp_mem", "ipfrag_time", "tcp_sac", "TCP_SACK", "", "tcp-settings"}) {
    ExpectFound(10, {std::string("interned ") + name});
  }
}

TEST(RandomScenarios, ChangeTheWorldOnLinesOfEveryKind) {
  ExpectFound(5, {"on writing config...", "on config done", "on reading previous config...",
                  "on reading config done", "on setting to previous values",
                  "on received TCP_Settings command", "on Unknown element", "on file ",
                  "on error opening stream for read ", "on error opening stream for write ",
                  "on file write error"});
  ExpectFound(1, {"on Content not text. Element", "on Setting new value ", "on 2"});
}

TEST(RandomScenarios, TakeDescriptorsAndGiveThemBack) {
  ExpectFound(20, {"descriptors taken at once", "descriptors taken on a line",
                   "descriptors given back at once", "descriptors given back on a line",
                   "no descriptor", "releases in vain"});
}

TEST(RandomScenarios, LetLayersMeet) {
  ExpectFound(20, {"2 layers at once", "3 layers at once", "4 layers at once", "start", "stop",
                   "a release in the middle", "three requests to a layer",
                   "an older layer after a newer one", "a reply taken", "a reply refused",
                   "success", "failure"});
}

TEST(RandomScenarios, HoldDocumentsOfEveryForm) {
  ExpectFound(20, {"an empty document", "several settings elements", "no children", "a stray root",
                   "a foreign element before the settings", "a foreign element after the settings",
                   "a node that is no element before the settings",
                   "a node that is no element after the settings", "no name",
                   "a name of what is no element", "an empty element", "more than one child",
                   "a first child that is an element", "a first child of another type", "depth 2",
                   "depth 3", "depth 4"});
  ExpectFound(1, {"100000 children"});
}

TEST(RandomScenarios, HoldNodesOfManyTypes) {
  for (const int type : {0, -1, 2, 3, 7, 256, 257, INT_MAX, INT_MIN}) {
    ExpectFound(20, {"type " + std::to_string(type)});
  }
}

TEST(RandomScenarios, HoldValuesOfEveryForm) {
  ExpectFound(
      20, {"an empty value", "a blank value", "a value like a format", "a line break in a value",
           "a value in UTF-8", "a value of 10000 bytes", "odd white space in a file",
           "a NUL in a file", "surplus words in a file", "a short file of three values"});
  ExpectFound(2, {"a value of 1 MiB"});
}

TEST(RandomScenarios, AreLegal) {
  for (std::uint64_t seed = 0; seed < 1000; ++seed) {
    Choices choices = Choices::FromSeed(seed);
    EXPECT_TRUE(IsLegal(Generate(choices))) << seed;
  }
}

TEST(RandomScenarios, AreTheSameForTheSameSeed) {
  for (std::uint64_t seed = 0; seed < 100; ++seed) {
    Choices first = Choices::FromSeed(seed);
    Choices second = Choices::FromSeed(seed);
    EXPECT_EQ(Generate(first), Generate(second)) << seed;
  }
}

// The first numbers of the published algorithm. They must be the same with every library.
TEST(Choices, FollowTheSeedAlone) {
  Choices choices = Choices::FromSeed(1234567);
  EXPECT_EQ(choices.Below(1000000007), 6457827717110365317U % 1000000007);
  EXPECT_EQ(choices.Below(1000000007), 3203168211198807973U % 1000000007);
}

TEST(Choices, FollowTheBytesAndAreZeroAfterTheirEnd) {
  const std::uint8_t bytes[] = {7, 1, 2};
  Choices choices = Choices::FromBytes(bytes, sizeof bytes);
  EXPECT_EQ(choices.Below(10), 7U);
  EXPECT_EQ(choices.Below(1), 0U);
  EXPECT_EQ(choices.Below(1000), 0x102U);
  EXPECT_EQ(choices.Below(10), 0U);
  EXPECT_FALSE(choices.OneIn(2));
}

TEST(RandomScenarios, EndSoonWhereTheBytesEnd) {
  Choices choices = Choices::FromBytes(nullptr, 0);
  const Scenario scenario = Generate(choices);
  EXPECT_LE(scenario.files.size(), 2U);
  EXPECT_LE(scenario.operations.size(), 2U);
}

}  // namespace
}  // namespace model
