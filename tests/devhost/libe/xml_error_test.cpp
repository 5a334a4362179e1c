// Files that are no documents: each is refused with a sentence that names the file and the line.

#include <gtest/gtest.h>
#include <libxml/xmlerror.h>

#include <string>

#include "tests/devhost/support/nodes.h"
#include "tests/devhost/support/temp_folder.h"

namespace {

class XmlError : public testing::Test {
 protected:
  // Expects the bytes to be refused at `line` for the reason `why`.
  void ExpectError(const std::string& bytes, int line, const std::string& why) const {
    const std::string path = folder_.Write("document.xml", bytes);
    EXPECT_EQ(ErrorOfFile(path),
              path + ":" + std::to_string(line) + ": cannot be read as XML: " + why)
        << bytes.substr(0, 100);
  }

  const TempFolder folder_;
};

}  // namespace

TEST_F(XmlError, MissingFile) {
  const std::string path = folder_.Path("nowhere.xml");
  EXPECT_EQ(ErrorOfFile(path), path + ": cannot be read: No such file or directory");
}

TEST_F(XmlError, Folder) {
  EXPECT_EQ(ErrorOfFile(folder_.Path("")), folder_.Path("") + ": cannot be read: Is a directory");
}

TEST_F(XmlError, EmptyFile) { ExpectError("", 1, "Document is empty"); }

TEST_F(XmlError, FileOfWhiteSpace) { ExpectError(" \n\n", 3, "Start tag expected, '<' not found"); }

TEST_F(XmlError, FileThatIsNoXml) {
  ExpectError("net.ipv4.tcp_sack = 0\n", 1, "Start tag expected, '<' not found");
}

TEST_F(XmlError, BinaryFile) {
  ExpectError(std::string("\x7f\x45LF\0\0\1", 7), 1, "Start tag expected, '<' not found");
}

TEST_F(XmlError, MismatchedTagIsToldWithItsOwnLine) {
  ExpectError("<a>\n  <b>\n    1\n  </c>\n</a>\n", 4,
              "Opening and ending tag mismatch: b line 2 and c");
}

TEST_F(XmlError, TruncatedFile) {
  ExpectError("<a>\n<b>1</b>\n<c>", 3, "Premature end of data in tag c line 3");
}

TEST_F(XmlError, FileTruncatedInATag) {
  ExpectError("<a>\n<b", 2, "Couldn't find end of Start Tag b line 2");
}

TEST_F(XmlError, SecondRoot) {
  ExpectError("<a/>\n<b/>", 2, "Extra content at the end of the document");
}

TEST_F(XmlError, TextAfterTheRoot) {
  ExpectError("<a/>\n1", 2, "Extra content at the end of the document");
}

TEST_F(XmlError, UndeclaredEntity) { ExpectError("<a>\n&u;</a>", 2, "Entity 'u' not defined"); }

TEST_F(XmlError, EntityThatOnlyAFileElsewhereMightDeclare) {
  ExpectError("<!DOCTYPE a SYSTEM 'a.dtd'>\n<a>&u;</a>", 2, "Entity 'u' not defined");
}

TEST_F(XmlError, AttributeGivenTwice) {
  ExpectError("<a\nb='1'\nb='2'/>", 3, "Attribute b redefined");
}

TEST_F(XmlError, BytesOfAnotherEncodingAreToldInOneLine) {
  ExpectError("<a>\n\xe9</a>", 2,
              "Input is not proper UTF-8, indicate encoding ! Bytes: 0xE9 0x3C 0x2F 0x61");
}

TEST_F(XmlError, UnknownEncoding) {
  ExpectError("<?xml version='1.0' encoding='nope'?><a/>", 1, "Unsupported encoding nope");
}

TEST_F(XmlError, FirstErrorIsTheOneThatIsTold) {
  ExpectError("<a>\n&u;\n</b>", 2, "Entity 'u' not defined");
}

TEST_F(XmlError, Utf16ThatIsNone) {
  ExpectError("<?xml version='1.0' encoding='UTF-16'?>\n<a/>", 1,
              "Document labelled UTF-16 but has UTF-8 content");
}

TEST_F(XmlError, BytesThatTheDeclaredEncodingLacks) {
  const std::string ascii = "<?xml version='1.0' encoding='US-ASCII'?>\n";
  const std::string why = "bytes that are invalid in the document's encoding; save it as UTF-8";
  ExpectError(ascii + "<a>\n\xe9</a>", 3, why);
  ExpectError(ascii + "<a>\n" + std::string(10'000, 'x') + "\xe9</a>", 3, why);
  ExpectError(ascii + "<a/>\n\xe9", 3, why);
}

TEST_F(XmlError, Utf16ThatEndsWithinACharacter) {
  using namespace std::string_literals;
  ExpectError("\xff\xfe<\0a\0/\0>\0\n"s, 1,
              "bytes that are invalid in the document's encoding; save it as UTF-8");
}

TEST_F(XmlError, Utf16ThatBreaksFarIn) {
  using namespace std::string_literals;
  std::string bytes = "\xff\xfe<\0a\0>\0\n\0"s;
  for (int i = 0; i < 10'000; ++i) {
    bytes += "x\0"s;
  }
  ExpectError(bytes + "\x00\xd8<\0/\0a\0>\0"s, 2,
              "input conversion failed due to input error, bytes 0x00 0xD8 0x3C 0x00");
}

TEST_F(XmlError, NulByteAtEachPlace) {
  using namespace std::string_literals;
  for (const std::string& bytes :
       {"\n\0"s, "<a>\n\0</a>"s, "<a\n\0/>"s, "<a b='\n\0'/>"s, "<!--\n\0 --><a/>"s,
        "<a><![CDATA[\n\0]]></a>"s, "<?p\n\0?><a/>"s, "<a/>\n\0"s, "<a/>\n\0\0<b/>"s}) {
    ExpectError(bytes, 2, "the document contains a NUL byte; remove it");
  }
}

TEST_F(XmlError, LineMayBeFarDown) {
  const std::string lines(100'000, '\n');
  ExpectError("<!-- -->" + lines.substr(0, 50'000) + "<a>" + lines + "<b>\n</c></a>", 150'002,
              "Opening and ending tag mismatch: b line 150001 and c");
}

TEST_F(XmlError, LongNamesAreCutShort) {
  const std::string letters = std::string(160, 'x') + "\u00e9\u00e9\u00e9\u00e9";
  ExpectError("<" + letters + "></b>", 1,
              "Opening and ending tag mismatch: " + letters.substr(0, 166) + "...");
}

TEST_F(XmlError, FileThatFailsWhileItIsRead) {
  EXPECT_EQ(ErrorOfFile("/proc/self/mem"), "/proc/self/mem: cannot be read: Input/output error");
}

TEST_F(XmlError, LeavesNothingBehindInTheParser) {
  ExpectError("<a>", 1, "Premature end of data in tag a line 1");
  EXPECT_EQ(xmlStructuredError, nullptr);
  EXPECT_EQ(xmlStructuredErrorContext, nullptr);
}

TEST_F(XmlError, LeavesTheNextDocumentReadable) {
  ExpectError("<a>", 1, "Premature end of data in tag a line 1");
  EXPECT_EQ(ErrorOfFile(folder_.Write("document.xml", "<a/>")), "");
}
