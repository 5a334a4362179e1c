// What is not well-formed is refused, wherever it stands, and what is only invalid is read.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "tests/devhost/support/nodes.h"
#include "tests/devhost/support/temp_folder.h"

using namespace std::string_literals;
using testing::ElementsAre;

namespace {

constexpr const char* kDeclaration =
    "the XML declaration is not well-formed; write <?xml version=\"1.0\"?> or remove it";
constexpr const char* kVersion =
    "the XML declaration names no version of XML; write version=\"1.0\"";
constexpr const char* kBadDeclaration =
    "a declaration that is not well-formed or not allowed here; remove it";

class XmlWellFormed : public testing::Test {
 protected:
  std::string ErrorOf(const std::string& bytes) const {
    return ErrorOfFile(folder_.Write("document.xml", bytes));
  }

  void ExpectRefused(const std::string& bytes, const std::string& at,
                     const std::string& why) const {
    EXPECT_EQ(ErrorOf(bytes),
              folder_.Path("document.xml") + ":" + at + ": cannot be read as XML: " + why)
        << bytes;
  }

  const TempFolder folder_;
};

// ASCII text in UTF-16, behind a byte order mark if there is one.
std::string BigEndian(const std::string& text, std::string bytes = "\xfe\xff") {
  for (const char c : text) {
    bytes += {'\0', c};
  }
  return bytes;
}

std::string LittleEndian(const std::string& text, std::string bytes = "\xff\xfe") {
  for (const char c : text) {
    bytes += {c, '\0'};
  }
  return bytes;
}

std::string Declaring(const std::string& encoding) {
  return "<?xml version='1.0' encoding='" + encoding + "'?>\n<a/>";
}

std::string Contradiction(const std::string& declared) {
  return "the document is not in " + declared +
         ", which its XML declaration names; save it as UTF-8 and write encoding=\"UTF-8\" there";
}

}  // namespace

TEST_F(XmlWellFormed, EachFaultIsRefused) {
  for (const char* bytes : {
           "<?xml?><a/>",
           "<?xml encoding='UTF-8'?><a/>",
           "<?xml version='1.0'encoding='UTF-8'?><a/>",
           "<?xml version='1.0' encoding='UTF-8'standalone='yes'?><a/>",
           "<?xml version='1.0' standalone='yes' encoding='UTF-8'?><a/>",
           "<?xml version='1.0' standalone='maybe'?><a/>",
           "<?xml version='1.'?><a/>",
           "<?xml version='2.0'?><a/>",
           " <?xml version='1.0'?><a/>",
           "<?XML version='1.0'?><a/>",
           "<a/><?xml version='1.0'?>",
           "<a><?xMl?></a>",
           "<a><?1?></a>",
           "<!DOCTYPEa><a/>",
           "<!doctype a><a/>",
           "<!DOCTYPE><a/>",
           "<!DOCTYPE 1><a/>",
           "<!DOCTYPE a>[]><a/>",
           "<!DOCTYPE a [] []><a/>",
           "<!DOCTYPE a SYSTEM's'><a/>",
           "<!DOCTYPE a PUBLIC 'p'><a/>",
           "<!DOCTYPE a PUBLIC 'p''s'><a/>",
           "<!DOCTYPE a PUBLIC '{' 's'><a/>",
           "<!DOCTYPE a><!DOCTYPE a><a/>",
           "<a/><!DOCTYPE a>",
           "<!DOCTYPE a [<!ELEMENTa ANY>]><a/>",
           "<!DOCTYPE a [<!ELEMENT a(b)>]><a/>",
           "<!DOCTYPE a [<!ELEMENT a (b|#PCDATA)>]><a/>",
           "<!DOCTYPE a [<!ELEMENT a (b|c,d)>]><a/>",
           "<!DOCTYPE a [<!ATTLIST a b CDATA'x'>]><a/>",
           "<!DOCTYPE a [<!ATTLIST a b CDATA #FIXED'x'>]><a/>",
           "<!DOCTYPE a [<!ATTLIST a b (x)'x'>]><a/>",
           "<!DOCTYPE a [<!ATTLIST a b CDATA '<'>]><a/>",
           "<!DOCTYPE a [<!NOTATION n >]><a/>",
           "<!DOCTYPE a [<!NOTATION n SYSTEM's'>]><a/>",
           "<!DOCTYPE a [<![INCLUDE[]]>]><a/>",
           "<!DOCTYPE a [x]><a/>",
           "<a b='1'c='2'/>",
           "<a b='1' b='2'/>",
           "<a b=1/>",
           "<a b/>",
           "<a b='<'/>",
           "<a b='&'/>",
           "<a b='&u;'/>",
           "<a 1b=''/>",
           "<1/>",
           "<-a/>",
           "< a/>",
           "<a / >",
           "<a></ a>",
           "<a></a b=''>",
           "<a>]]></a>",
           "<a>&</a>",
           "<a>&#0;</a>",
           "<a>&#x1F;</a>",
           "<a>&#xD800;</a>",
           "<a>&#xFFFE;</a>",
           "<a>&#65</a>",
           "<a>\x01</a>",
           "<a b='\x0b'/>",
           "<a><!-- -- --></a>",
           "<a><!-- ---></a>",
           "<a><![cdata[]]></a>",
           "<a><!ELEMENT a ANY></a>",
           "<![CDATA[]]><a/>",
           "<a/><![CDATA[]]>",
           "x<a/>",
           "<a/>&#32;",
           "<a/><a/>",
           "<a/></a>",
       }) {
    EXPECT_NE(ErrorOf(bytes), "") << bytes;
    EXPECT_NE(ErrorOf(BigEndian(bytes)), "") << bytes;
  }
  for (const char* bytes : {"<a>\xef\xbf\xbf</a>", "<a>\xed\xa0\x80</a>", "<a>\xc0\x80</a>"}) {
    EXPECT_NE(ErrorOf(bytes), "") << bytes;
  }
}

TEST_F(XmlWellFormed, WhatIsOnlyInvalidIsRead) {
  for (const char* bytes : {
           "<!DOCTYPE b [<!ELEMENT b EMPTY>]><a>1</a>",
           "<!DOCTYPE a [<!ELEMENT a ANY><!ELEMENT a EMPTY>]><a/>",
           "<!DOCTYPE a [<!ELEMENT a (#PCDATA|b|b)*>]><a/>",
           "<!DOCTYPE a [<!ELEMENT a (b,(c|b))>]><a/>",
           "<!DOCTYPE a [<!ATTLIST a b (x|x) \"x\">]><a/>",
           "<!DOCTYPE a [<!ATTLIST a b (x|y) 'z'>]><a/>",
           "<!DOCTYPE a [<!ATTLIST a b NOTATION (n|n) #IMPLIED>]><a/>",
           "<!DOCTYPE a [<!ATTLIST a b ID 'x' c ID #IMPLIED b CDATA #IMPLIED>]><a b='1'/>",
           "<!DOCTYPE a [<!ATTLIST a b NMTOKEN '*' c ENTITY #IMPLIED xml:space CDATA 'x'>]><a/>",
           "<!DOCTYPE a [<!NOTATION n SYSTEM 's'><!NOTATION n PUBLIC 'p'>]><a/>",
           "<!DOCTYPE a [%p;]><a/>",
           "<!DOCTYPE a SYSTEM '%%#' [%p;<!ELEMENT a ANY>]><a/>",
           "<a xml:lang='!' xml:space='x' xml:id='1 2' xmlns:p='' xmlns='%%'/>",
       }) {
    EXPECT_EQ(ErrorOf(bytes), "") << bytes;
  }
}

TEST_F(XmlWellFormed, FaultBeforeTheRootIsToldWithItsPosition) {
  ExpectRefused("\n<!DOCTYPEa>\n<a/>", "2:11", kBadDeclaration);
  ExpectRefused("<!DOCTYPE a [\n<!NOTATION n >]><a/>", "2:14", kBadDeclaration);
  ExpectRefused("<!DOCTYPE a>\n<!DOCTYPE a><a/>", "2:1", kBadDeclaration);
  ExpectRefused("<!--\n--><![CDATA[x]]><a/>", "2:4", kBadDeclaration);
  ExpectRefused("<!--\n\n--><!DOCTYPE tcp-settings>[]>\n<a>1</a>", "3:27",
                "text before the root element; remove it");
  ExpectRefused("<?xml version='1.0' encoding='UTF-8'standalone='yes'?><a/>", "1:37", kDeclaration);
  for (const char* version : {"1.", "1", "2.0", "1.x", "1.0.1", "11.0"}) {
    ExpectRefused("<?xml version='" + std::string(version) + "'?><a/>", "1:1", kVersion);
  }
  ExpectRefused(BigEndian("<!--\n--><!DOCTYPEa><a/>"), "2:14", kBadDeclaration);
  ExpectRefused(LittleEndian("<!--\n--><!DOCTYPEa><a/>"), "2:14", kBadDeclaration);
  ExpectRefused("\xef\xbb\xbf<!--\n--><!DOCTYPEa><a/>", "2:14", kBadDeclaration);
  ExpectRefused("<!-- -->" + std::string(50'000, '\n') + "<!DOCTYPEa><a/>", "50001:11",
                kBadDeclaration);
}

TEST_F(XmlWellFormed, LettersBeforeTheRootAreAsManyAsInside) {
  for (const std::string letters : {"\u00e9", "\u4e00"}) {
    const std::string name = "n" + letters;
    EXPECT_THAT(NodesOf("<!DOCTYPE " + name + " [<!ELEMENT " + name + " ANY><!-- " + letters +
                        " -->]><?" + name + "?><" + name + " a" + letters + "='' a\u00e8=''/>"),
                ElementsAre("(instruction)", name));
  }
  EXPECT_THAT(NodesOf(BigEndian("<!--") + "\x2d\x2d" + BigEndian("--><a/>", "")),
              ElementsAre("(comment)", "a"));
  EXPECT_THAT(NodesOf(LittleEndian("<?") + "\xe9\0"s + LittleEndian("ml?><a/>", "")),
              ElementsAre("(instruction)", "a"));
}

// The parser knows the letters of the fourth edition of XML 1.0. No name of a setting has others.
TEST_F(XmlWellFormed, NamesHaveTheLettersOfTheFourthEdition) {
  for (const char* letters : {"\u1200", "\U00010000", "\u3c3e", "\ufeff"}) {
    EXPECT_NE(ErrorOf("<n" + std::string(letters) + "/>"), "") << letters;
  }
}

TEST_F(XmlWellFormed, ByteOrderMarkMustAgreeWithTheDeclaration) {
  for (const char* encoding : {"ISO-8859-1", "US-ASCII", "KOI8-R", "windows-1252", "UTF-16"}) {
    ExpectRefused("\xef\xbb\xbf" + Declaring(encoding), "1:1", Contradiction(encoding));
  }
  for (const char* encoding : {"UTF-8", "US-ASCII", "KOI8-R", "UTF-16BE"}) {
    ExpectRefused(LittleEndian(Declaring(encoding)), "1:1", Contradiction(encoding));
    ExpectRefused(LittleEndian(Declaring(encoding), ""), "1:1", Contradiction(encoding));
  }
  for (const char* encoding : {"UTF-8", "UTF-16LE"}) {
    ExpectRefused(BigEndian(Declaring(encoding)), "1:1", Contradiction(encoding));
    ExpectRefused(BigEndian(Declaring(encoding), ""), "1:1", Contradiction(encoding));
  }
}

TEST_F(XmlWellFormed, ByteOrderMarkThatAgreesIsNoContent) {
  for (const std::string& bytes :
       {"\xef\xbb\xbf<a/>"s, "\xef\xbb\xbf" + Declaring("UTF-8"),
        "\xef\xbb\xbf" + Declaring("utf-8"), "\xef\xbb\xbf<?xml version='1.0'?><a/>"s,
        BigEndian("<a/>"), BigEndian(Declaring("UTF-16")), BigEndian(Declaring("UTF-16BE")),
        BigEndian("<?xml version='1.0'?><a/>"), BigEndian(Declaring("utf-16"), ""),
        LittleEndian("<a/>"), LittleEndian(Declaring("UTF-16")),
        LittleEndian(Declaring("UTF-16LE")), LittleEndian("<?xml version='1.0'?><a/>"),
        LittleEndian("<?xml version='1.0'?><a/>", ""), LittleEndian(Declaring("UTF-16LE"), "")}) {
    EXPECT_THAT(NodesOf(bytes), ElementsAre("a")) << bytes;
  }
  EXPECT_NE(ErrorOf("\xef\xbb\xbf\xef\xbb\xbf<a/>"), "");
}

TEST_F(XmlWellFormed, Utf16NeedsAByteOrderMarkOrAnXmlDeclaration) {
  for (const std::string& bytes : {BigEndian("<a/>", ""), BigEndian(" <a/>", ""),
                                   LittleEndian("<a/>", ""), LittleEndian(" <a/>", "")}) {
    ExpectRefused(
        bytes, "1:1",
        "the encoding UTF-16 without a byte order mark is not supported; save the document "
        "as UTF-8");
  }
}

// A letter that an accent could follow.
TEST_F(XmlWellFormed, LetterThatTheEncodingHoldsBackIsNotLost) {
  ExpectRefused("<?xml version='1.0' encoding='TCVN5712-1'?>\n<a/>A", "2:5",
                "text or a second element after the root element; a document has one root");
}

TEST_F(XmlWellFormed, EncodingInWhichAsciiIsSomethingElseIsRefused) {
  const std::string ebcdic =  // <?xml version='1.0' encoding='IBM037'?><a/>
      "\x4c\x6f\xa7\x94\x93\x40\xa5\x85\x99\xa2\x89\x96\x95\x7e\x7d\xf1\x4b\xf0\x7d\x40\x85\x95\x83"
      "\x96\x84\x89\x95\x87\x7e\x7d\xc9\xc2\xd4\xf0\xf3\xf7\x7d\x6f\x6e\x4c\x81\x61\x6e";
  ExpectRefused(ebcdic, "1:3",
                "a character that XML does not allow here, or bytes that are not UTF-8; save the "
                "document as UTF-8");
  for (const char* encoding : {"IBM037", "UTF-16", "UTF-16BE"}) {
    ExpectRefused(Declaring(encoding), "1:1", Contradiction(encoding));
  }
}

TEST_F(XmlWellFormed, EndOfCdataInATextIsFoundWhereverAPieceEnds) {
  for (std::size_t size = 16'370; size < 16'384; ++size) {  // pieces of 16384 bytes
    const std::string text(size, 'x');
    EXPECT_NE(ErrorOf("<a>" + text + "]]></a>"), "") << size;
    EXPECT_NE(ErrorOf("<a>" + text + "]]]]]]]]]]]>>>>>>>></a>"), "") << size;
    EXPECT_NE(ErrorOf(BigEndian("<a>" + text.substr(size / 2) + "]]></a>")), "") << size;
    EXPECT_EQ(ErrorOf("<a>" + text + "]]]] ></a>"), "") << size;
  }
  EXPECT_THAT(NodesOf("<a>" + std::string(50'000, ']') + "</a>"),
              ElementsAre("a", "  '" + std::string(50'000, ']') + "'"));
}

TEST_F(XmlWellFormed, DocumentThatComesByteByByteIsTheSame) {
  const std::string bytes = "<?xml version='1.0'?><!DOCTYPE a [<!-- x -->]><a><![CDATA[1]]></a>";
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_DIRECT | O_CLOEXEC), 0);  // which keeps each write apart
  std::thread writer([&] {
    for (const char byte : bytes) {
      EXPECT_EQ(write(ends[1], &byte, 1), 1);
    }
    close(ends[1]);
  });
  EXPECT_THAT(NodesOfFile("/proc/self/fd/" + std::to_string(ends[0])), ElementsAre("a", "  '1'"));
  writer.join();
  close(ends[0]);
}
