// What the schema of configuration documents allows, and that it speaks of what the built plug-in
// knows.

#include "tests/docs/support/schema.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "tests/docs/support/observed_catalogue.h"
#include "tests/docs/support/page.h"

namespace {

using testing::ElementsAreArray;
using testing::Gt;

class SchemaTest : public testing::Test {
 protected:
  const Schema schema{KAETCP_SCHEMA};
};

// A document with these children.
std::string Settings(const std::string& children) {
  return "<tcp-settings>" + children + "</tcp-settings>";
}

std::string Element(const std::string& name, const std::string& value) {
  return "<" + name + ">" + value + "</" + name + ">";
}

TEST_F(SchemaTest, NamesWhatThePluginKnowsInTheOrderOfTheCatalogue) {
  std::vector<std::string> expected = ObservedNames();
  expected.insert(expected.begin(), "tcp-settings");
  std::vector<std::string> named;
  for (const Schema::Element& element : schema.elements()) {
    named.push_back(element.name);
  }
  EXPECT_THAT(named, ElementsAreArray(expected));
}

TEST_F(SchemaTest, DescribesEachElementAsTheTableOfTunablesDoes) {
  std::map<std::string, std::string> uses;
  for (const std::vector<std::string>& row : Page("tunables.md").TableRows()) {
    uses[row.front()] = row.back();
  }
  for (const Schema::Element& element : schema.elements()) {
    if (element.name == "tcp-settings") {
      EXPECT_NE(element.documentation, "");
    } else {
      EXPECT_EQ(element.documentation, uses[element.name]) << element.name;
    }
  }
}

TEST_F(SchemaTest, AllowsEveryExample) {
  int examples = 0;
  for (const auto& entry : std::filesystem::directory_iterator(KAETCP_EXAMPLES)) {
    if (entry.path().extension() == ".xml") {
      std::ifstream file(entry.path());
      const std::string document((std::istreambuf_iterator<char>(file)), {});
      EXPECT_TRUE(schema.Allows(document)) << entry.path();
      ++examples;
    }
  }
  EXPECT_THAT(examples, Gt(0));
}

TEST_F(SchemaTest, AllowsEachElementAloneAllTogetherAndInReverse) {
  std::string forwards;
  std::string backwards;
  for (const std::string& name : ObservedNames()) {
    const std::string element = Element(name, "17");
    EXPECT_TRUE(schema.Allows(Settings(element))) << name;
    EXPECT_FALSE(schema.Allows(Settings(element + element))) << name;
    EXPECT_FALSE(schema.Allows(Settings(Element(name, "")))) << name;
    forwards += element;
    backwards.insert(0, element);
  }
  EXPECT_TRUE(schema.Allows(Settings(forwards)));
  EXPECT_TRUE(schema.Allows(Settings(backwards)));
}

TEST_F(SchemaTest, AllowsTheWayThatPeopleWrite) {
  for (const std::string& document : {
           std::string("<tcp-settings/>"),
           Settings("\n  <tcp_sack>1</tcp_sack>\n"),
           Settings("<!-- why --><tcp_sack>0</tcp_sack>"),
           Settings(Element("tcp_sack", "<![CDATA[1]]>")),
           Settings(Element("tcp_mem_high", "18446744073709551616")),
       }) {
    EXPECT_TRUE(schema.Allows(document)) << document;
  }
}

TEST_F(SchemaTest, RefusesWhatHasNoEffectOrAnother) {
  for (const std::string& document : {
           Element("tcp_sack", "1"),
           Element("settings", "<tcp_sack>1</tcp_sack>"),
           std::string("<tcp-settings xmlns='urn:other'><tcp_sack>1</tcp_sack></tcp-settings>"),
           std::string("<tcp-settings version='1'/>"),
           Settings("some text"),
           Settings("<tcp_sack>1</tcp_sack>;<tcp_ecn>1</tcp_ecn>"),
           Settings(Element("tcp_sak", "1")),
           Settings(Element("TCP_SACK", "1")),
           Settings(Element("tcp_rmem", "4096")),
           Settings(Element("ipfrag_time", "30")),
           Settings("<tcp-settings/>"),
           Settings("<tcp_sack/>"),
           Settings("<tcp_sack value='1'>1</tcp_sack>"),
           Settings(Element("tcp_sack", "<b>1</b>")),
           Settings(Element("tcp_sack", "<b/>1")),
           Settings(Element("tcp_sack", "<tcp_ecn>1</tcp_ecn>")),
           Settings("<tcp_sack>1</tcp_sack><tcp_ecn>1</tcp_ecn><tcp_sack>1</tcp_sack>"),
       }) {
    EXPECT_FALSE(schema.Allows(document)) << document;
  }
}

TEST_F(SchemaTest, AllowsNegativeNumbersWhereTheyHaveAMeaning) {
  for (const std::string& name : ObservedNames()) {
    EXPECT_EQ(schema.Allows(Settings(Element(name, "-1"))), name == "tcp_adv_win_scale") << name;
  }
}

TEST_F(SchemaTest, RefusesWhatIsNoDecimalNumber) {
  for (const char* value : {" ", " 1", "1 ", "\n1\n", "1 2", "1.5", "1e3", "+1", "--1", "-0", "017",
                            "0x3c", "yes", "1,2", "1%"}) {
    EXPECT_FALSE(schema.Allows(Settings(Element("tcp_sack", value)))) << value;
  }
  for (const char* value : {"", " -2", "-", "-0", "-02", "2-"}) {
    EXPECT_FALSE(schema.Allows(Settings(Element("tcp_adv_win_scale", value)))) << value;
  }
}

}  // namespace
