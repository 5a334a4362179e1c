// What becomes of each construct of XML as contents of a document.

#include <gmock/gmock.h>

#include <string>

#include "tests/devhost/support/nodes.h"

using testing::ElementsAre;

TEST(XmlElement, IsAnElementWithItsName) {
  EXPECT_THAT(NodesOf("<tcp-settings/>"), ElementsAre("tcp-settings"));
}

TEST(XmlElement, HasItsChildrenInTheirOrder) {
  EXPECT_THAT(NodesOf("<a><b>1</b><c><d/></c><b>2</b></a>"),
              ElementsAre("a", "  b", "    '1'", "  c", "    d", "  b", "    '2'"));
}

TEST(XmlElement, HasNoContentsWhenItIsEmptyHoweverItIsWritten) {
  EXPECT_THAT(NodesOf("<a><b/><c></c><d  ></d></a>"), ElementsAre("a", "  b", "  c", "  d"));
}

TEST(XmlElement, HasNoAttributes) {
  EXPECT_THAT(NodesOf("<a b='1' c=\"&lt;\"><d e=''>x</d></a>"), ElementsAre("a", "  d", "    'x'"));
}

TEST(XmlNamespace, DeclarationIsNotSeen) {
  EXPECT_THAT(NodesOf("<a xmlns='urn:x' xmlns:p='urn:y'><b xmlns=''/></a>"),
              ElementsAre("a", "  b"));
}

TEST(XmlNamespace, PrefixIsPartOfTheNameAsItIsWritten) {
  EXPECT_THAT(NodesOf("<p:a xmlns:p='urn:x' xmlns:q='urn:x'><q:a/><p:b q:c=''/></p:a>"),
              ElementsAre("p:a", "  q:a", "  p:b"));
}

TEST(XmlNamespace, PrefixNeedsNoDeclaration) {
  EXPECT_THAT(NodesOf("<p:a q:b=''><p:c/><d:e:f/></p:a>"), ElementsAre("p:a", "  p:c", "  d:e:f"));
}

TEST(XmlNamespace, ColonIsALetterLikeAnyOther) {
  EXPECT_THAT(NodesOf("<!DOCTYPE a [<!NOTATION n:o SYSTEM 's'>]><:a><b:/><?p:q?><c::d:-/></:a>"),
              ElementsAre(":a", "  b:", "  (instruction)", "  c::d:-"));
}

TEST(XmlText, WhiteSpaceBetweenElementsIsATextLikeAnyOther) {
  EXPECT_THAT(NodesOf("<a>\n\t<b/> <c/>\n</a>"),
              ElementsAre("a", "  '\n\t'", "  b", "  ' '", "  c", "  '\n'"));
}

TEST(XmlText, KeepsWhiteSpaceAroundAValue) {
  EXPECT_THAT(NodesOf("<a> 1\t2 \n</a>"), ElementsAre("a", "  ' 1\t2 \n'"));
}

TEST(XmlText, WhiteSpaceOutsideTheRootIsNoContent) {
  EXPECT_THAT(NodesOf("<?xml version='1.0'?>\n\n<a/>\n\n"), ElementsAre("a"));
}

TEST(XmlText, LineEndsAreNewlinesWhateverTheFileHas) {
  EXPECT_THAT(NodesOf("<a>1\r\n2\r3</a>"), ElementsAre("a", "  '1\n2\n3'"));
}

TEST(XmlText, TakesCharacterReferencesIn) {
  EXPECT_THAT(NodesOf("<a>1&#50;&#x33;4&#xe9;&#9;</a>"), ElementsAre("a", "  '1234\u00e9\t'"));
}

TEST(XmlText, TakesTheFivePredefinedEntitiesIn) {
  EXPECT_THAT(NodesOf("<a>x&lt;&gt;&amp;&quot;&apos;y</a>"), ElementsAre("a", "  'x<>&\"'y'"));
}

TEST(XmlText, OfAMillionCharactersStaysOne) {
  const std::string text(1'000'000, 'x');
  EXPECT_THAT(NodesOf("<a>" + text + "</a>"), ElementsAre("a", "  '" + text + "'"));
}

TEST(XmlCdata, IsText) {
  EXPECT_THAT(NodesOf("<a><![CDATA[<b>&amp;]] >]]></a>"), ElementsAre("a", "  '<b>&amp;]] >'"));
}

TEST(XmlCdata, IsOneTextWithItsNeighbours) {
  EXPECT_THAT(NodesOf("<a>1<![CDATA[2]]>3<![CDATA[4]]><![CDATA[5]]></a>"),
              ElementsAre("a", "  '12345'"));
}

TEST(XmlCdata, LeavesItsNeighboursAsTheyAreWhenItIsEmpty) {
  EXPECT_THAT(NodesOf("<a>1<![CDATA[]]>2</a>"), ElementsAre("a", "  '12'"));
}

TEST(XmlCdata, IsAnEmptyTextWhenItIsEmptyAndAlone) {
  EXPECT_THAT(NodesOf("<a><![CDATA[]]></a>"), ElementsAre("a", "  ''"));
}

TEST(XmlComment, IsAContentOfAnotherKindAtEachPlace) {
  EXPECT_THAT(
      NodesOf("<!-- 1 --><a><!-- 2 --><b/><!-- 3 --><c/></a><!-- 4 -->"),
      ElementsAre("(comment)", "a", "  (comment)", "  b", "  (comment)", "  c", "(comment)"));
}

TEST(XmlComment, SplitsATextInTwo) {
  EXPECT_THAT(NodesOf("<a>1<!-- -->2</a>"), ElementsAre("a", "  '1'", "  (comment)", "  '2'"));
}

TEST(XmlProcessingInstruction, IsAContentOfAnotherKindAtEachPlace) {
  EXPECT_THAT(
      NodesOf("<?p 1?><a>1<?p?>2</a><?q <b>?>"),
      ElementsAre("(instruction)", "a", "  '1'", "  (instruction)", "  '2'", "(instruction)"));
}

TEST(XmlDeclaration, IsNoContent) {
  EXPECT_THAT(NodesOf("<?xml version='1.0' encoding='UTF-8' standalone='yes'?><a/>"),
              ElementsAre("a"));
}

TEST(XmlDeclaration, MayBeOfALaterVersion) {
  EXPECT_THAT(NodesOf("<?xml version='1.1'?><a/>"), ElementsAre("a"));
}

TEST(XmlDocumentType, IsNoContent) {
  EXPECT_THAT(NodesOf("<!-- --><!DOCTYPE a [<!ELEMENT a ANY><!-- in it --><?in it?>]><a/>"),
              ElementsAre("(comment)", "a"));
}

TEST(XmlDocumentType, IsNotHeldAgainstTheDocument) {
  EXPECT_THAT(NodesOf("<!DOCTYPE b [<!ELEMENT b EMPTY><!ATTLIST a c CDATA 'd'>]><a>1</a>"),
              ElementsAre("a", "  '1'"));
}

TEST(XmlEncoding, Utf8ByteOrderMarkIsNoContent) {
  EXPECT_THAT(NodesOf("\xef\xbb\xbf<a>\xc3\xa9</a>"), ElementsAre("a", "  '\xc3\xa9'"));
}

TEST(XmlEncoding, Latin1TextBecomesUtf8) {
  EXPECT_THAT(NodesOf("<?xml version='1.0' encoding='ISO-8859-1'?><\xe9>\xe9</\xe9>"),
              ElementsAre("\xc3\xa9", "  '\xc3\xa9'"));
}

TEST(XmlEncoding, Utf16TextBecomesUtf8) {
  using namespace std::string_literals;
  EXPECT_THAT(NodesOf("\xff\xfe<\0a\0>\0\xe9\0<\0/\0a\0>\0"s), ElementsAre("a", "  '\xc3\xa9'"));
}
