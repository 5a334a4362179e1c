// What becomes of each construct of XML as contents of a document.

#include <gmock/gmock.h>

#include <string>

#include "devhost/libe/document.h"
#include "tests/devhost/support/nodes.h"
#include "tests/devhost/support/temp_folder.h"

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

TEST(XmlElement, HasAttributesOnlyIfTheyAreInItsTag) {
  const TempFolder folder;
  const devhost::Document document = devhost::Document::Read(folder.Write(
      "document.xml",
      "<!DOCTYPE a [<!ATTLIST a b CDATA 'x'>]><a><a b=''/><a xmlns='u'/><a c=''/></a>"));
  const kaml_content* root = document.contents();
  EXPECT_FALSE(root->has_attributes());
  for (const kaml_content* c = root->first_child(); c != nullptr; c = c->next()) {
    EXPECT_TRUE(c->has_attributes());
  }
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

TEST(XmlDeclaration, WithoutAnEncodingMeansUtf8) {
  EXPECT_THAT(NodesOf("<?xml version='1.0'?><a>\u00e9</a>"), ElementsAre("a", "  '\u00e9'"));
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

TEST(XmlEncoding, IsAnyThatContainsAscii) {
  const auto nodes_in = [](const std::string& encoding, const std::string& text) {
    return NodesOf("<?xml version='1.0' encoding='" + encoding + "'?><a>" + text + "</a>");
  };
  EXPECT_THAT(nodes_in("KOI8-R", "\xc1"), ElementsAre("a", "  '\u0430'"));
  EXPECT_THAT(nodes_in("windows-1252", "\x80"), ElementsAre("a", "  '\u20ac'"));
  EXPECT_THAT(nodes_in("Shift_JIS", "\x83\x41"), ElementsAre("a", "  '\u30a2'"));
  EXPECT_THAT(nodes_in("UTF8", "\u30a2"), ElementsAre("a", "  '\u30a2'"));
}

TEST(XmlEncoding, CharactersMayLieAcrossTheEndsOfPieces) {
  for (std::size_t size = 16'310; size < 16'320; ++size) {  // pieces of 16384 bytes
    const std::string text(size, 'x');
    EXPECT_THAT(NodesOf("<a>" + text + "\U0001f600</a>"),
                ElementsAre("a", "  '" + text + "\U0001f600'"));
    std::string japanese;
    std::string utf8;
    for (int i = 0; i < 20'000; ++i) {
      japanese += "\x83\x41";
      utf8 += "\u30a2";
    }
    EXPECT_THAT(NodesOf("<?xml version='1.0' encoding='Shift_JIS'?><a>" + text + japanese + "</a>"),
                ElementsAre("a", "  '" + text + utf8 + "'"));
  }
}

// Big5-HKSCS holds a letter back, for a mark may follow that becomes one character with it.
TEST(XmlEncoding, CharacterThatIsHeldBackIsNotLost) {
  EXPECT_THAT(NodesOf("<?xml version='1.0' encoding='BIG5-HKSCS'?><a>\x88\x66</a>"),
              ElementsAre("a", "  '\u00ca'"));
}
