// Files that are no documents: each is refused with a sentence that names the file and the line.

#include <gtest/gtest.h>
#include <libxml/xmlerror.h>

#include <string>

#include "devhost/libe/document.h"
#include "tests/devhost/nodes.h"
#include "tests/devhost/temp_folder.h"

namespace {

// What reading the file at `path` is refused with; empty when it is not.
std::string ErrorOfFile(const std::string& path) {
  try {
    devhost::Document::Read(path);
    return "";
  } catch (const devhost::DocumentError& error) {
    return error.what();
  }
}

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

TEST_F(XmlError, DepthThatIsNoDocumentsOwn) {
  ExpectError(NestedElements(1000), 1,
              "Excessive depth in document: 256 use XML_PARSE_HUGE option");
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
