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
constexpr const char* kDocumentType =
    "the document type declaration is not well-formed; remove it, no document needs one";

class XmlWellFormed : public testing::Test {
 protected:
  std::string ErrorOf(const std::string& bytes) const {
    return ErrorOfFile(folder_.Write("document.xml", bytes));
  }

  void ExpectRefused(const std::string& bytes, int line, const std::string& why) const {
    EXPECT_EQ(ErrorOf(bytes), folder_.Path("document.xml") + ":" + std::to_string(line) +
                                  ": cannot be read as XML: " + why)
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

std::string Contradiction(const std::string& encoding) {
  return "the document is in " + encoding +
         ", which contradicts its XML declaration; write encoding=\"" + encoding + "\" there";
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

TEST_F(XmlWellFormed, FaultBeforeTheRootIsToldWithItsLine) {
  ExpectRefused("\n<!DOCTYPEa>\n<a/>", 2, kDocumentType);
  ExpectRefused("<!--\n\n--><!DOCTYPE tcp-settings>[]>\n<a>1</a>", 3, kDocumentType);
  ExpectRefused("<!DOCTYPE a [\n<!NOTATION n >]><a/>", 2, kDocumentType);
  ExpectRefused("<?xml version='1.0' encoding='UTF-8'\nstandalone='yes'?><!DOCTYPEa><a/>", 2,
                kDocumentType);
  ExpectRefused("<?xml version='1.0' encoding='UTF-8'standalone='yes'?><a/>", 1, kDeclaration);
  ExpectRefused("<?xml version='1.'?><a/>", 1,
                "the version in the XML declaration lacks its second number; write "
                "version=\"1.0\"");
  ExpectRefused(BigEndian("<!--\n--><!DOCTYPEa><a/>"), 2, kDocumentType);
  ExpectRefused(LittleEndian("<!--\n--><!DOCTYPEa><a/>"), 2, kDocumentType);
  ExpectRefused("\xef\xbb\xbf<!--\n--><!DOCTYPEa><a/>", 2, kDocumentType);
  ExpectRefused("<!-- -->" + std::string(50'000, '\n') + "<!DOCTYPEa><a/>", 50'001, kDocumentType);
}

TEST_F(XmlWellFormed, ParsersOwnMessageComesFirst) {
  ExpectRefused("<!DOCTYPEa>\n<a b='1' b='2'/>", 2, "Attribute b redefined");
  ExpectRefused("<!DOCTYPEa>\n<a", 2, "Couldn't find end of Start Tag a line 2");
  ExpectRefused("<!DOCTYPEa>\n<a>\n</b>", 1, kDocumentType);
}

TEST_F(XmlWellFormed, LettersBeforeTheRootAreAsManyAsInside) {
  for (const std::string letters : {"\u00e9", "\u1200", "\U00010000", "\ufeffa", "\u3c3e"}) {
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

TEST_F(XmlWellFormed, ByteOrderMarkMustAgreeWithTheDeclaration) {
  for (const char* encoding : {"ISO-8859-1", "US-ASCII", "KOI8-R", "windows-1252"}) {
    ExpectRefused("\xef\xbb\xbf" + Declaring(encoding), 1, Contradiction("UTF-8"));
  }
  for (const char* encoding : {"UTF-8", "US-ASCII", "KOI8-R"}) {
    ExpectRefused(LittleEndian(Declaring(encoding)), 1, Contradiction("UTF-16"));
  }
  ExpectRefused(BigEndian(Declaring("UTF-8")), 1, Contradiction("UTF-16"));
  ExpectRefused(BigEndian(Declaring("UTF-8"), ""), 1, Contradiction("UTF-16"));
  ExpectRefused(LittleEndian(Declaring("UTF-8"), ""), 1, Contradiction("UTF-16"));
  ExpectRefused(LittleEndian("<?xml version='1.0'?><a/>", ""), 1, Contradiction("UTF-16"));
  for (const char* encoding : {"UTF-16", "UTF-16LE", "ISO-8859-1"}) {
    EXPECT_NE(ErrorOf(BigEndian(Declaring(encoding) + "<")), "") << encoding;
  }
}

TEST_F(XmlWellFormed, ByteOrderMarkThatAgreesIsNoContent) {
  for (const std::string& bytes :
       {"\xef\xbb\xbf<a/>"s, "\xef\xbb\xbf" + Declaring("UTF-8"),
        "\xef\xbb\xbf" + Declaring("utf-8"), "\xef\xbb\xbf" + Declaring("UTF8"),
        "\xef\xbb\xbf<?xml version='1.0'?><a/>"s, BigEndian("<a/>"), BigEndian(Declaring("UTF-16")),
        BigEndian(Declaring("UTF-16BE")), BigEndian("<?xml version='1.0'?><a/>"),
        BigEndian(Declaring("utf-16"), ""), LittleEndian("<a/>"), LittleEndian(Declaring("UTF-16")),
        LittleEndian(Declaring("UTF-16LE")), LittleEndian(Declaring("ISO-10646-UCS-2")),
        LittleEndian("<?xml version='1.0'?><a/>"), LittleEndian(Declaring("UTF-16LE"), ""),
        Declaring("ISO-8859-1"), Declaring("Shift_JIS"), Declaring("windows-1252")}) {
    EXPECT_EQ(ErrorOf(bytes), "") << bytes;
  }
}

TEST_F(XmlWellFormed, EncodingInWhichAsciiIsSomethingElseIsRefused) {
  const std::string ebcdic =  // <?xml version='1.0' encoding='IBM037'?><a/>
      "\x4c\x6f\xa7\x94\x93\x40\xa5\x85\x99\xa2\x89\x96\x95\x7e\x7d\xf1\x4b\xf0\x7d\x40\x85\x95\x83"
      "\x96\x84\x89\x95\x87\x7e\x7d\xc9\xc2\xd4\xf0\xf3\xf7\x7d\x6f\x6e\x4c\x81\x61\x6e";
  ExpectRefused(ebcdic, 1,
                "the document is in an encoding that is not supported; save it as UTF-8");
}

TEST_F(XmlWellFormed, EndOfCdataInATextIsFoundWhereverTheParserStops) {
  for (std::size_t size = 3'980; size < 4'000; ++size) {  // it reads 4000 bytes at a time
    const std::string text(size, 'x');
    EXPECT_NE(ErrorOf("<a>" + text + "]]></a>"), "") << size;
    EXPECT_NE(ErrorOf("<a>" + text + "]]]]]]]]]]]>>>>>>>></a>"), "") << size;
    EXPECT_NE(ErrorOf(BigEndian("<a>" + text + "]]></a>")), "") << size;
    EXPECT_NE(ErrorOf(LittleEndian("<a>" + text + "]]></a>")), "") << size;
    EXPECT_EQ(ErrorOf("<a>" + text + "]]]] ></a>"), "") << size;
  }
  EXPECT_THAT(NodesOf("<a>" + std::string(20'000, ']') + "</a>"),
              ElementsAre("a", "  '" + std::string(20'000, ']') + "'"));
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
