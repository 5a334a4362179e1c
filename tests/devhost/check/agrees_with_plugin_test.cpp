// kaehost check against what the plug-in and the kernel do.

#include <gmock/gmock.h>

#include <iterator>
#include <set>
#include <string>

#include "devhost/kaehost/kernel/catalogue.h"
#include "tests/devhost/check/cases.h"
#include "tests/devhost/support/json.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using devhost::Catalogue;
using devhost::CatalogueEntry;
using nlohmann::json;
using testing::AnyOf;
using testing::IsEmpty;
using testing::Not;

namespace {

bool IsIgnored(const std::string& finding) {
  return finding.find("unknown element") != std::string::npos ||
         finding.find("so the element is ignored") != std::string::npos;
}

// Returns an element as it should be, or in one of the ways in which the plug-in ignores it.
std::string InOneOfSomeWays(const CatalogueEntry& entry, std::size_t way) {
  const std::string name = entry.element;
  const std::string value = entry.default_value;
  const std::string ways[] = {
      '<' + name + '>' + value + "</" + name + '>',
      '<' + name + "/>",
      '<' + name + "><!-- why -->" + value + "</" + name + '>',
      '<' + name + "_>" + value + "</" + name + "_>",
  };
  return ways[way % std::size(ways)];
}

// Returns the elements that the plug-in sets, as its lines show.
std::set<std::string> SetByThePlugIn(const std::string& document) {
  const std::string mark = "Setting new value - ";
  std::set<std::string> elements;
  const json told = Parsed(Kaehost({"apply", "--json", document}).out);
  for (const std::string line : told["progress"]) {
    if (line.starts_with(mark)) {
      elements.insert(line.substr(mark.size(), line.find(' ', mark.size()) - mark.size()));
    }
  }
  return elements;
}

// Returns the lines of a document in which an ignored element is found.
std::set<int> IgnoredLines(const std::string& document) {
  std::set<int> lines;
  const json told = Parsed(Kaehost({"check", "--json", document}).out);
  for (const json& finding : told["documents"][0]["findings"]) {
    if (IsIgnored(finding["sentence"])) {
      lines.insert(finding["line"].get<int>());
    }
  }
  return lines;
}

class CheckAndPlugIn : public testing::Test {
 protected:
  const TempFolder folder_;
};

}  // namespace

TEST_F(CheckAndPlugIn, AgreeInEveryKindOfFinding) {
  for (const CheckCase& c : kCheckCases) {
    const std::string xml = c.Document();
    const bool set = !SetByThePlugIn(folder_.Write("document.xml", xml)).empty();
    const bool names_an_element = xml.find("</tcp_") != std::string::npos;
    EXPECT_EQ(set, names_an_element && !IsIgnored(c.finding)) << xml;
  }
}

TEST_F(CheckAndPlugIn, AgreeInEveryElement) {
  for (std::size_t shift = 0; shift < 4; ++shift) {
    std::string xml = "<tcp-settings>\n";
    for (std::size_t i = 0; i < Catalogue().size(); ++i) {
      xml += InOneOfSomeWays(Catalogue()[i], i + shift) + '\n';
    }
    const std::string document = folder_.Write("document.xml", xml + "</tcp-settings>\n");
    const std::set<int> ignored = IgnoredLines(document);
    std::set<std::string> expected;
    for (std::size_t i = 0; i < Catalogue().size(); ++i) {
      if (!ignored.contains(static_cast<int>(i) + 2)) {
        expected.insert(Catalogue()[i].element);
      }
    }
    EXPECT_THAT(expected, Not(IsEmpty()));
    EXPECT_EQ(SetByThePlugIn(document), expected);
  }
}

// If a number is found to be too large, the kernel does not accept it.
TEST_F(CheckAndPlugIn, AgreeWithTheKernelInNumbersThatAreTooLarge) {
  std::string xml = "<tcp-settings>";
  for (const CatalogueEntry& entry : Catalogue()) {
    if (!AboutNumber(entry, false, 2147483648).empty()) {
      xml.append("<").append(entry.element).append(">2147483648</").append(entry.element) += '>';
    }
  }
  const std::string document = folder_.Write("document.xml", xml + "</tcp-settings>");
  const json told = Parsed(Kaehost({"apply", "--json", document}).out);
  int looked_at = 0;
  for (const json& outcome : told["requests"][0]["outcomes"]) {
    if (outcome["asked"] == "2147483648" && !outcome["emulated"]) {
      EXPECT_THAT(outcome["outcome"], AnyOf("rejected", "adjusted", "missing")) << outcome;
      looked_at += outcome["outcome"] == "missing" ? 0 : 1;
    }
  }
  EXPECT_GT(looked_at, 20);
}
