// Files that are no documents: each is refused with a sentence that names the file and the
// position.

#include <gtest/gtest.h>

#include <string>

#include "tests/devhost/support/nodes.h"
#include "tests/devhost/support/temp_folder.h"

namespace {

constexpr const char* kNoElement = "the document has no element; write a root element";
constexpr const char* kTextBefore = "text before the root element; remove it";
constexpr const char* kSecondRoot =
    "text or a second element after the root element; a document has one root";
constexpr const char* kBadTag =
    "a tag that is not well-formed; write <name attribute=\"value\">, or &lt; in text";
constexpr const char* kBadDeclaration =
    "a declaration that is not well-formed or not allowed here; remove it";
constexpr const char* kBadBytes =
    "a character that XML does not allow here, or bytes that are not UTF-8; save the document as "
    "UTF-8";

class XmlError : public testing::Test {
 protected:
  // Expects the bytes to be refused for the reason `why`. `at` is the line and the column.
  void ExpectError(const std::string& bytes, const std::string& at, const std::string& why) const {
    const std::string path = folder_.Write("document.xml", bytes);
    EXPECT_EQ(ErrorOfFile(path), path + ":" + at + ": cannot be read as XML: " + why)
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

TEST_F(XmlError, EmptyFile) { ExpectError("", "1:1", kNoElement); }

TEST_F(XmlError, FileOfWhiteSpace) { ExpectError(" \n\n", "3:1", kNoElement); }

TEST_F(XmlError, FileThatIsNoXml) {
  for (const char* bytes : {"net.ipv4.tcp_sack = 0\n", "1\n", "[net]\n", "\"net\"\n"}) {
    ExpectError(bytes, "1:1", kTextBefore);
  }
  ExpectError("# The network\nnet.ipv4.tcp_sack = 0\n", "1:2", kTextBefore);
  ExpectError("net<a/>", "1:4", kTextBefore);
  ExpectError("<!-- -->\n net\n<a/>", "2:2", kTextBefore);
}

TEST_F(XmlError, BinaryFile) {
  ExpectError(std::string("\x7f\x45LF\0\0\1", 7), "1:1", kTextBefore);
}

TEST_F(XmlError, MismatchedTagIsToldWithBothNames) {
  ExpectError("<a>\n  <b>\n    1\n  </c>\n</a>\n", "4:5",
              "the end tag </c> does not match <b> in line 2; write </b>");
  ExpectError("<a></b >", "1:6", "the end tag </b> does not match <a> in line 1; write </a>");
  ExpectError("<a></b\n>", "1:6", "the end tag </b> does not match <a> in line 1; write </a>");
}

TEST_F(XmlError, TruncatedFile) {
  ExpectError("<a>\n<b>1</b>\n<c>", "3:4", "the document ends inside <c> in line 3; write </c>");
  ExpectError("<a>\n<b>1</b>\n", "3:1", "the document ends inside <a> in line 1; write </a>");
}

TEST_F(XmlError, FileTruncatedInAPart) {
  for (const char* part : {"<", "<b", "<b c='", "</a", "<!-- x", "<?p x", "&l"}) {
    ExpectError("<a>\n" + std::string(part), "2:1",
                "the tag or comment that begins here does not end; check that the document is "
                "complete");
  }
  ExpectError("<a>\n<![CDATA[x", "2:11", "a CDATA section does not end; write ]]> at its end");
  ExpectError("<a>\n\xc3", "2:1", kBadBytes);
}

TEST_F(XmlError, SecondRoot) { ExpectError("<a/>\n<b/>", "2:1", kSecondRoot); }

TEST_F(XmlError, TextAfterTheRoot) { ExpectError("<a/>\n1", "2:1", kSecondRoot); }

TEST_F(XmlError, CharacterAfterTheRootThatItsEncodingHoldsBack) {
  ExpectError("<?xml version='1.0' encoding='BIG5-HKSCS'?><a/>\x88\x66", "1:48", kSecondRoot);
}

TEST_F(XmlError, UnknownEntity) {
  const std::string why = "the entity \"u\" is unknown; write the text itself, and &amp; for \"&\"";
  ExpectError("<a>\nx&u;</a>", "2:2", why);
  ExpectError("<!DOCTYPE a SYSTEM 'a.dtd'>\n<a>&u;</a>", "2:4", why);
  ExpectError("<a b='&u;'/>", "1:1",
              "an attribute uses an unknown entity; write the text itself, and &amp; for \"&\"");
}

TEST_F(XmlError, SignThatIsPartOfXml) {
  const std::string reference = "\"&\" that begins no reference; write &amp; if it is text";
  ExpectError("<a>1 & 2</a>", "1:7", reference);
  ExpectError("<a>\n&</a>", "2:2", reference);
  ExpectError("<a>x&y</a>", "1:7", reference);
  ExpectError("<a>1 < 2</a>", "1:7", kBadTag);
  ExpectError("<a>]]></a>", "1:6",
              "\"]]>\" that ends no CDATA section; write ]]&gt; if it is text");
  ExpectError("<a>1 <! 2</a>", "1:8", kBadDeclaration);
  ExpectError("<a><!-- -- --></a>", "1:11", "\"--\" inside a comment; remove it");
  ExpectError("<a><?p?x</a>", "1:8", "a processing instruction that is not well-formed; remove it");
}

TEST_F(XmlError, TagThatIsNotWellFormed) {
  ExpectError("<a b=1/>", "1:6", kBadTag);
  ExpectError("<a b/>", "1:5", kBadTag);
  ExpectError("<a b='<'/>", "1:7", kBadTag);
  ExpectError("<a b='>\n</a>", "2:1", kBadTag);
  ExpectError("<a></a b=''>", "1:8", kBadTag);
  ExpectError("<a/></a>", "1:6", kBadTag);
}

TEST_F(XmlError, AttributeGivenTwice) {
  ExpectError("<a\nbc='1'\nbc='2'/>", "3:1", "the attribute \"bc\" is there twice; remove one");
  ExpectError("<a b='1' b ='2'/>", "1:10", "the attribute \"b\" is there twice; remove one");
}

TEST_F(XmlError, ReferenceToWhatIsNoCharacter) {
  ExpectError("<a>&#0;</a>", "1:4",
              "a reference to a character that XML does not allow; remove it");
}

TEST_F(XmlError, ControlCharacter) {
  const std::string why = "the document contains a control character; remove it";
  for (const std::string bytes : {"<a>\n\x01</a>", "<a b='\n\x1f'/>", "<a>x\n\x0b</a>"}) {
    ExpectError(bytes, "2:1", why);
  }
}

TEST_F(XmlError, DeclarationThatIsNotAtTheBeginning) {
  ExpectError("\n<?xml version='1.0'?><a/>", "2:1",
              "an XML declaration that is not at the beginning of the document; remove it, or what "
              "is before it");
}

TEST_F(XmlError, ErrorThatIsRareIsToldInTheParsersWords) {
  ExpectError("<!DOCTYPE a PUBLIC '{' 's'><a/>", "1:21", "illegal character(s) in public id");
}

TEST_F(XmlError, BytesOfAnotherEncoding) {
  ExpectError("<a>\n\xe9</a>", "2:1", kBadBytes);
  ExpectError("<a>\nx\xef\xbf\xbf</a>", "2:2", kBadBytes);
}

TEST_F(XmlError, UnknownEncoding) {
  ExpectError("<?xml version='1.0' encoding='nope'?><a/>", "1:1",
              "the encoding nope is not supported; save the document as UTF-8");
  ExpectError(
      "<?xml version='1.0' encoding='" + std::string(100, 'x') + "'?><a/>", "1:1",
      "the encoding " + std::string(63, 'x') + " is not supported; save the document as UTF-8");
}

TEST_F(XmlError, FirstErrorIsTheOneThatIsTold) {
  ExpectError("<a>\n]]>\n</b>", "2:3",
              "\"]]>\" that ends no CDATA section; write ]]&gt; if it is text");
}

TEST_F(XmlError, BytesThatTheDeclaredEncodingLacks) {
  const std::string ascii = "<?xml version='1.0' encoding='US-ASCII'?>\n";
  const std::string why = "bytes that are invalid in US-ASCII; save the document as UTF-8";
  ExpectError(ascii + "<a>\nx\xe9</a>", "3:2", why);
  ExpectError(ascii + "<a>\n" + std::string(40'000, 'x') + "\xe9</a>", "3:40001", why);
  ExpectError(ascii + "<a/>\n\xe9", "3:1", why);
  ExpectError(ascii + "<a></b>\xe9", "2:6",
              "the end tag </b> does not match <a> in line 2; write </a>");
}

TEST_F(XmlError, Utf16ThatEndsWithinACharacter) {
  using namespace std::string_literals;
  ExpectError("\xff\xfe<\0a\0/\0>\0\n"s, "1:5",
              "bytes that are invalid in UTF-16LE; save the document as UTF-8");
}

TEST_F(XmlError, Utf16ThatBreaksFarIn) {
  using namespace std::string_literals;
  std::string bytes = "\xff\xfe<\0a\0>\0\n\0"s;
  for (int i = 0; i < 10'000; ++i) {
    bytes += "x\0"s;
  }
  ExpectError(bytes + "\x00\xd8<\0/\0a\0>\0"s, "2:10001",
              "bytes that are invalid in UTF-16LE; save the document as UTF-8");
}

TEST_F(XmlError, NulByteAtEachPlace) {
  using namespace std::string_literals;
  for (const std::string& bytes :
       {" \n\0"s, "<a>\n\0</a>"s, "<a\n\0/>"s, "<a b='\n\0'/>"s, "<!--\n\0 --><a/>"s,
        "<a><![CDATA[\n\0]]></a>"s, "<?p\n\0?><a/>"s, "<a/>\n\0"s, "<a/>\n\0\0<b/>"s,
        "\xff\xfe<\0a\0>\0\n\0\0\0<\0"s}) {
    ExpectError(bytes, "2:1", "the document contains a NUL byte; remove it");
  }
}

TEST_F(XmlError, LineMayBeFarDown) {
  const std::string lines(100'000, '\n');
  ExpectError("<!-- -->" + lines.substr(0, 50'000) + "<a>" + lines + "<b>\n</c></a>", "150002:3",
              "the end tag </c> does not match <b> in line 150001; write </b>");
}

TEST_F(XmlError, LongNamesAreCutShort) {
  const std::string long_name = std::string(59, 'x') + "\u00e9\u00e9\u00e9";
  const std::string shown = std::string(59, 'x') + "...";
  ExpectError("<" + long_name + "></" + long_name + "y>", "1:67",
              "the end tag </" + shown + "> does not match <" + shown + "> in line 1; write </" +
                  shown + ">");
  const std::string name = std::string(58, 'x') + "\u00e9";
  ExpectError("<" + name + ">", "1:62",
              "the document ends inside <" + name + "> in line 1; write </" + name + ">");
}

TEST_F(XmlError, FileThatFailsWhileItIsRead) {
  EXPECT_EQ(ErrorOfFile("/proc/self/mem"), "/proc/self/mem: cannot be read: Input/output error");
}

TEST_F(XmlError, LeavesTheNextDocumentReadable) {
  ExpectError("<a>", "1:4", "the document ends inside <a> in line 1; write </a>");
  EXPECT_EQ(ErrorOfFile(folder_.Write("document.xml", "<a/>")), "");
}
