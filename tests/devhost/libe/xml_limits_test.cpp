// What a document may not be: one that declares entities, or one that is too much. And what it may
// be in any measure.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "devhost/libe/document.h"
#include "tests/devhost/support/nodes.h"
#include "tests/devhost/support/small_stack.h"
#include "tests/devhost/support/temp_folder.h"

using testing::MatchesRegex;

namespace {

constexpr const char* kNoEntities =
    "a document may not declare entities; remove the declaration and write the text itself where "
    "the entity is used";
constexpr const char* kTooLong =
    "a tag, a comment, a processing instruction or a document type declaration is longer than 64 "
    "KiB; shorten it";

class XmlLimits : public testing::Test {
 protected:
  void ExpectRefused(const std::string& bytes, const std::string& at,
                     const std::string& why) const {
    const std::string path = folder_.Write("document.xml", bytes);
    EXPECT_EQ(ErrorOfFile(path), path + ":" + at + ": " + why) << bytes.substr(0, 100);
  }

  void ExpectRead(const std::string& bytes) const {
    EXPECT_EQ(ErrorOfFile(folder_.Write("document.xml", bytes)), "") << bytes.substr(0, 100);
  }

  // Returns what follows the path in the sentence that refuses the document; empty if it is read.
  std::string ErrorWith(const std::string& bytes, const devhost::Limits& limits) const {
    const std::string path = folder_.Write("document.xml", bytes);
    try {
      devhost::Document::Read(path, limits);
      return "";
    } catch (const devhost::DocumentError& error) {
      return std::string(error.what()).substr(path.size());
    }
  }

  const TempFolder folder_;
};

// Documents that spend some `size` bytes on one thing, which begins at 2:4.
std::vector<std::string> DocumentsWithALong(std::size_t size) {
  const std::string x(size, 'x');
  std::string attributes;
  for (std::size_t i = 0; attributes.size() < size; ++i) {
    attributes += " a" + std::to_string(i) + "=''";
  }
  std::string declarations;
  while (declarations.size() < size) {
    declarations += "<!ELEMENT b ANY><!-- x --><?p?>";
  }
  return {
      "<r>\nxxx<" + x + "/></r>\n",
      "<r>\nxxx<a b='" + x + "'/></r>\n",
      "<r>\nxxx<a " + x + "=''/></r>\n",
      "<r>\nxxx<a" + attributes.substr(0, attributes.rfind(' ')) + "/></r>\n",
      "<r>\nxxx<a" + std::string(size, ' ') + "/></r>\n",
      "<r>\n<a></a" + std::string(size, ' ') + "></r>\n",
      "<r>\nxxx<!--" + x + "--></r>\n",
      "<r>\nxxx<!--\n" + x + "--></r>\n",
      "<r>\nxxx<?p " + x + "?></r>\n",
      "<r>\nxxx<?" + x + "?></r>\n",
      "<!--\n--><!DOCTYPE " + x + "><r/>\n",
      "<!--\n--><!DOCTYPE r SYSTEM '" + x + "'><r/>\n",
      "<!--\n--><!DOCTYPE r [<!ELEMENT " + x + " ANY>]><r/>\n",
      "<!--\n--><!DOCTYPE r [<!ELEMENT r (" + x + ")>]><r/>\n",
      "<!--\n--><!DOCTYPE r [<!ATTLIST r b CDATA '" + x + "'>]><r/>\n",
      "<!--\n--><!DOCTYPE r [" + declarations + "]><r/>\n",
      "<r/>\n   <!--" + x + "-->\n",
  };
}

// Documents with `count` different names besides a few.
std::vector<std::string> DocumentsWithNames(int count) {
  std::string elements;
  std::string attributes;
  for (int i = 0; i < count; ++i) {
    const std::string name = "b" + std::to_string(i);
    elements += "<" + name + "/>";
    attributes += "<a " + name + "=''/>";
  }
  return {"<r>" + elements + "</r>", "<r>" + attributes + "</r>"};
}

}  // namespace

TEST_F(XmlLimits, RefuseEveryDeclarationOfAnEntity) {
  for (const char* declaration :
       {"<!ENTITY e 'v'>", "<!ENTITY e ''>", "<!ENTITY % p 'v'>", "<!ENTITY lt '&#38;#60;'>",
        "<!ENTITY e SYSTEM 's'>", "<!ENTITY e PUBLIC 'p' 's'>", "<!ENTITY % p SYSTEM 's'>",
        "<!ENTITY e SYSTEM 's' NDATA n>"}) {
    const std::string beginning =
        "<!DOCTYPE a [<!NOTATION n SYSTEM 'n'>\n" + std::string(declaration);
    ExpectRefused(beginning + "\n]>\n<a>&u;</b>", "2:1", kNoEntities);
    ExpectRefused(beginning + "<!ENTITY x ", "2:1", kNoEntities);
  }
}

TEST_F(XmlLimits, RefuseEntitiesThatMultiply) {
  std::string nested = "<!ENTITY e0 'v'>\n";
  for (int i = 1; i < 30; ++i) {
    const std::string inner = "&e" + std::to_string(i - 1) + ";";
    nested += "<!ENTITY e" + std::to_string(i) + " '" + inner + inner + "'>\n";
  }
  ExpectRefused("<!DOCTYPE a [" + nested + "]><a>&e29;</a>", "1:14", kNoEntities);
  ExpectRefused("<!DOCTYPE a [" + nested + "]><a b='&e29;'/>", "1:14", kNoEntities);

  std::string references;
  for (int i = 0; i < 50'000; ++i) {
    references += "&e;";
  }
  ExpectRefused(
      "<!DOCTYPE a [<!ENTITY e '" + std::string(50'000, 'x') + "'>]><a>" + references + "</a>",
      "1:14", kNoEntities);
}

TEST_F(XmlLimits, RefuseWhatIsLongAndNoText) {
  for (const std::size_t size : {65'536U, 80'000U, 500'000U}) {
    for (const std::string& bytes : DocumentsWithALong(size)) {
      ExpectRefused(bytes, "2:4", kTooLong);
    }
  }
}

TEST_F(XmlLimits, AllowSixtyFourKibibytes) {
  for (const std::string& bytes : DocumentsWithALong(65'400)) {
    ExpectRead(bytes);
  }
  const std::string comment = "<!--" + std::string(65'529, 'x') + "-->";
  for (const std::string before : {"", "<!-- -->", "<?xml version='1.0'?>", "\n", "<!DOCTYPE a>"}) {
    ExpectRead(before + comment + "<a/>");
  }
  for (const std::string before : {"<a>", "<a>x", "<a>&lt;", "<a><![CDATA[x]]>", "<a><b/>"}) {
    ExpectRead(before + comment + "</a>");
  }
  ExpectRefused("<a><!--x" + comment.substr(4) + "</a>", "1:4", kTooLong);
}

TEST_F(XmlLimits, AllowLongCdataAndSpaceBetweenMarkup) {
  ExpectRead("<a><![CDATA[" + std::string(500'000, 'x') + "]]></a>");
  ExpectRead("<a/>" + std::string(500'000, ' '));
  ExpectRead(std::string(500'000, '\n') + "<a/>");
}

TEST_F(XmlLimits, RefuseMoreNamesThanTheLimit) {
  const std::string why = "the document has more than 64 Ki different names; split it into several";
  const std::vector<std::string> documents = DocumentsWithNames(65'537);
  ExpectRefused(documents[0], "1:578709", why);
  ExpectRefused(documents[1], "1:906370", why);
}

TEST_F(XmlLimits, AllowSixtyFourKibiNames) {
  for (const std::string& bytes : DocumentsWithNames(65'534)) {  // and the names r and a
    ExpectRead(bytes);
  }
}

TEST_F(XmlLimits, AllowAsManyLevelsAsTheLimitAndNoMore) {
  const devhost::Limits limits = {.levels = 1000};
  const std::string levels = NestedElements(1000);
  EXPECT_EQ(ErrorWith(levels, limits), "");
  EXPECT_EQ(ErrorWith("<a>" + NestedElements(999) + NestedElements(999) + "</a>", limits), "");
  EXPECT_THAT(ErrorWith("<a>\n" + levels + "</a>", limits),
              MatchesRegex(":2:2998: the document has more than .* elements inside each other; "
                           "remove some"));
}

TEST_F(XmlLimits, CountAttributesThatTheDocumentTypeAdds) {
  const std::string type = "<!DOCTYPE a [<!ATTLIST b c CDATA '' d CDATA ''>]>";
  std::string elements;
  for (int i = 0; i < 300; ++i) {
    elements += "<b/>";
  }
  EXPECT_EQ(ErrorWith(type + "<a>" + elements + "</a>", {.contents = 901}), "");
  EXPECT_NE(ErrorWith(type + "<a>" + elements + "</a>", {.contents = 900}), "");
}

TEST_F(XmlLimits, AllowAsManyContentsAsTheLimitAndNoMore) {
  const devhost::Limits limits = {.contents = 1000};
  std::string begin = "<r>";
  for (int i = 0; i < 499; ++i) {
    begin += "\n<a/>";  // two contents: the line end is a text
  }
  for (const std::string last : {"<!---->", "<?p?>", "<a/>", "x<![CDATA[y]]>z"}) {
    EXPECT_EQ(ErrorWith(begin + last + "</r>", limits), "") << last;
    for (const std::string more : {"<!---->", "<?p?>", "<a/>"}) {
      EXPECT_THAT(ErrorWith(begin + last + more + "</r>", limits),
                  MatchesRegex(":500:[0-9]+: the document has more than .* elements, attributes, "
                               "texts and comments; "
                               "split it into several"))
          << last << more;
    }
  }
  EXPECT_NE(ErrorWith(begin + "<a/>x</r>", limits), "");
}

TEST_F(XmlLimits, AllowAsManyBytesAsTheLimitAndNoMore) {
  const devhost::Limits limits = {.bytes = std::size_t{1} << 20};
  const std::string bytes = "<a>\n" + std::string((1 << 20) - 8, 'x') + "</a>";
  ASSERT_EQ(bytes.size(), limits.bytes);
  EXPECT_EQ(ErrorWith(bytes, limits), "");
  EXPECT_EQ(ErrorWith(bytes + '\n', limits),
            ":2:1048573: the document is longer than 1 MiB; split it into several");
}

TEST_F(XmlLimits, AreTheOnesThatTheSentencesTell) {
  const devhost::Limits limits = {.contents = 2 << 20, .names = 2 << 10, .markup = 128 << 10};
  EXPECT_EQ(ErrorWith(DocumentsWithNames(3'000).front(), limits),
            ":1:15270: the document has more than 2 Ki different names; split it into several");
  std::string elements;
  for (int i = 0; i < (2 << 20); ++i) {
    elements += "<a/>";
  }
  EXPECT_EQ(ErrorWith("<r>" + elements + "</r>", limits),
            ":1:8388608: the document has more than 2 Mi elements, attributes, texts and comments; "
            "split it into several");
  EXPECT_EQ(ErrorWith(DocumentsWithALong(100'000).front(), limits), "");
  EXPECT_EQ(ErrorWith(DocumentsWithALong(150'000).front(), limits),
            ":2:4: a tag, a comment, a processing instruction or a document type declaration is "
            "longer than 128 KiB; shorten it");
}

TEST_F(XmlLimits, AllowManyOfWhatMayNotBeLong) {
  const std::string part = "<a b='" + std::string(50'000, 'x') + "'><!--" +
                           std::string(50'000, 'x') + "--><![CDATA[" + std::string(50'000, 'x') +
                           "]]></a>";
  std::string parts;
  for (int i = 0; i < 20; ++i) {
    parts += part;
  }
  ExpectRead("<a>" + parts + "</a>");
}

TEST_F(XmlLimits, AllowADocumentTypeThatNestsDeeply) {
  OnASmallStack([this] {
    const int depth = 1000;
    ExpectRead("<!DOCTYPE a [<!ELEMENT a " + std::string(depth, '(') + "b" +
               std::string(depth, ')') + ">]><a/>");
  });
}

TEST_F(XmlLimits, AllowAnyDepthOnASmallStack) {
  constexpr int kDepth = 100'000;
  const std::string path = folder_.Write("document.xml", NestedElements(kDepth));
  OnASmallStack([&] {
    const devhost::Document document = devhost::Document::Read(path);
    int levels = 0;
    for (const kaml_content* c = document.contents(); c != nullptr; c = kaml_elem_contents(c)) {
      ++levels;
    }
    EXPECT_EQ(levels, kDepth);
  });
}

TEST_F(XmlLimits, TellWhereAnEndIsMissingFarDown) {
  std::string bytes;
  for (int i = 0; i < 100'000; ++i) {
    bytes += "<a>\n";
  }
  OnASmallStack([&] {
    ExpectRefused(bytes, "100001:1",
                  "cannot be read as XML: the document ends inside <a> in line 100000; write </a>");
  });
}

TEST_F(XmlLimits, AllowAMillionSiblings) {
  std::string bytes = "<r>";
  for (int i = 0; i < 1'000'000; ++i) {
    bytes += "<a/>";
  }
  const std::string path = folder_.Write("document.xml", bytes + "</r>");
  OnASmallStack([&] {
    const devhost::Document document = devhost::Document::Read(path);
    int siblings = 0;
    for (const kaml_content* c = kaml_elem_contents(document.contents()); c != nullptr;
         c = kaml_cont_next(c)) {
      ++siblings;
    }
    EXPECT_EQ(siblings, 1'000'000);
  });
}
