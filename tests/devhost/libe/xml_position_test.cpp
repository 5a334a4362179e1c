// Where elements and texts begin: lines and columns from 1, columns in characters.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "devhost/libe/document.h"
#include "tests/devhost/support/temp_folder.h"

using testing::ElementsAre;

namespace {

// A line for each element (its name) and text ('text') with its place.
std::vector<std::string> PlacesIn(const std::string& bytes) {
  const TempFolder folder;
  const devhost::Document document = devhost::Document::Read(folder.Write("document.xml", bytes));
  std::vector<std::string> places;
  std::vector<const kaml_content*> next = {document.contents()};
  while (!next.empty()) {
    const kaml_content* content = next.back();
    next.pop_back();
    if (content == nullptr) {
      continue;
    }
    next.push_back(content->next());
    next.push_back(content->first_child());
    if (content->type() == devhost::kElement || content->type() == devhost::kText) {
      places.push_back((content->type() == devhost::kText ? "text" : std::string(content->name())) +
                       " " + std::to_string(content->begin().line) + ":" +
                       std::to_string(content->begin().column));
    }
  }
  return places;
}

}  // namespace

TEST(XmlPosition, OfTheRootIsWhereItsTagBegins) {
  EXPECT_THAT(PlacesIn("<a/>"), ElementsAre("a 1:1"));
  EXPECT_THAT(PlacesIn("\n\n  <a/>"), ElementsAre("a 3:3"));
  EXPECT_THAT(PlacesIn("<?xml version='1.0'?><a/>"), ElementsAre("a 1:22"));
  EXPECT_THAT(PlacesIn("<!-- <b> --> <?p <b?>\n <!-- \n --><a/>"), ElementsAre("a 3:5"));
  EXPECT_THAT(PlacesIn("<!DOCTYPE a [\n<!ELEMENT a ANY>]> <a/>"), ElementsAre("a 2:20"));
}

TEST(XmlPosition, OfARootOverSeveralLinesIsWhereItsTagBegins) {
  EXPECT_THAT(PlacesIn("<!-- \u00e9\n\u00e9\u00e9 --> <a\n b='\u00e9'\n  c='>'\n/>"),
              ElementsAre("a 2:8"));
  EXPECT_THAT(PlacesIn("<a\n><b/></a>"), ElementsAre("a 1:1", "b 2:2"));
}

TEST(XmlPosition, ColumnsAreInCharacters) {
  EXPECT_THAT(
      PlacesIn("<!--\u00e9\u20ac\U0001f600--><a\u00e9><b c='\u20ac'/>\U0001f600<c/></a\u00e9>"),
      ElementsAre("a\u00e9 1:11", "b 1:15", "text 1:25", "c 1:26"));
  EXPECT_THAT(PlacesIn("<?xml version='1.0' encoding='ISO-8859-1'?>\n<a>\xe9\xe9<b/></a>"),
              ElementsAre("a 2:1", "text 2:4", "b 2:6"));
}

TEST(XmlPosition, ByteOrderMarkHasNoColumn) {
  using namespace std::string_literals;
  EXPECT_THAT(PlacesIn("\xef\xbb\xbf<a>\n<b/></a>"), ElementsAre("a 1:1", "text 1:4", "b 2:1"));
  EXPECT_THAT(PlacesIn("\xff\xfe<\0a\0>\0\n\0<\0/\0a\0>\0"s), ElementsAre("a 1:1", "text 1:4"));
}

TEST(XmlPosition, OfATextIsWhereItBegins) {
  EXPECT_THAT(PlacesIn("<a>\n 1<!-- -->2<![CDATA[3]]>4<b\n></b\n>\n5</a>"),
              ElementsAre("a 1:1", "text 1:4", "text 2:11", "b 2:26", "text 4:2"));
}

TEST(XmlPosition, OfWhatFollowsLongMarkupIsRight) {
  const std::string x(50'000, 'x');
  EXPECT_THAT(PlacesIn("<!--" + x + "-->\n <a b='" + x + "'><!--\n" + x + "--><b c='" + x + "'/>" +
                       x + "<c/></a>"),
              ElementsAre("a 2:2", "b 3:50004", "text 3:100013", "c 3:150013"));
}
