// Documents from XML.

#include <libxml/parser.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "devhost/libe/builder.h"
#include "devhost/libe/document.h"
#include "devhost/libe/input.h"

namespace devhost {
namespace {

constexpr std::size_t kMaxContents = std::size_t{32} << 20;
// The parser's dictionary stops growing, and from then on each new name takes longer than the last.
constexpr int kMaxNames = 64 << 10;
constexpr std::size_t kMaxReason = 200;
constexpr const char* kNoXml = "cannot be read as XML: ";

const char* Chars(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

// Makes the parser's words one line, and a short one: names in them may be of any length.
std::string Tidy(std::string reason) {
  reason.erase(reason.find_last_not_of('\n') + 1);
  std::replace(reason.begin(), reason.end(), '\n', ' ');
  if (reason.size() > kMaxReason) {
    std::size_t end = kMaxReason;
    while ((reason[end] & '\xc0') == '\x80') {  // in the midst of a character
      --end;
    }
    reason.resize(end);
    reason += "...";
  }
  return reason;
}

// Fills a document with what the parser tells of a file, part by part: there is no second tree, and
// nothing recurses. It uses the parser's first interface, which takes names as they are written.
// The first failure ends the input, since it is the one that explains the others.
class Reading {
 public:
  Reading(const std::string& path, Document* document) : input_(path), builder_(document) {}

  // Reads it all. Throws DocumentError.
  void Run();

 private:
  using Parser = std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxt*)>;

  static xmlSAXHandler Handler();
  static Parser NewParser(Reading* reading);

  // What the parser calls. It is written in C: nothing may be thrown through it.
  template <class Step>
  static void Try(void* reading, Step step);
  template <class Step>
  static void TryPart(void* reading, Step step);
  static int Read(void* reading, char* buffer, int size);
  static void TakeError(void* reading, xmlErrorPtr error);

  void AddOther(ContentType type);
  [[noreturn]] void RefuseEntity() const;
  std::string Explain(const xmlError& error) const;
  std::string WhyNoFurther() const;
  Position BeginOfTag() const;
  Position Here() const { return {parser_->input->line, parser_->input->col}; }
  int Line() const { return parser_->input->line; }

  Input input_;
  Builder builder_;
  Position end_of_last_ = {1, 1};  // of the last part, where within the root the next one begins
  std::exception_ptr failure_;
  const Parser parser_ = NewParser(this);
};

void Reading::Run() {
  xmlSetStructuredErrorFunc(this, TakeError);
  xmlParseDocument(parser_.get());
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  if (failure_ != nullptr) {
    std::rethrow_exception(failure_);
  }
  if (const std::string why = WhyNoFurther(); !why.empty()) {
    input_.Refuse(Line(), kNoXml + why);
  }
}

Reading::Parser Reading::NewParser(Reading* reading) {
  xmlSAXHandler handler = Handler();
  Parser parser(
      xmlCreateIOParserCtxt(&handler, reading, Read, nullptr, reading, XML_CHAR_ENCODING_NONE),
      [](xmlParserCtxt* done) {
        xmlFreeDoc(done->myDoc);  // left behind where a file ends among its entities
        xmlFreeParserCtxt(done);
      });
  if (parser == nullptr) {
    throw std::bad_alloc();
  }
  xmlCtxtUseOptions(parser.get(), XML_PARSE_HUGE);
  return parser;
}

// Nothing is fetched from outside: there is no handler that would.
xmlSAXHandler Reading::Handler() {
  xmlSAXHandler handler = {};
  handler.startElement = [](void* self, const xmlChar* name, const xmlChar** attributes) {
    TryPart(self, [&](Reading& reading) {
      reading.builder_.StartElement(Chars(name), attributes != nullptr, reading.BeginOfTag());
      reading.end_of_last_ = EndOf(">", reading.Here());
    });
  };
  handler.endElement = [](void* self, const xmlChar* /*name*/) {
    TryPart(self, [](Reading& reading) {
      reading.builder_.EndElement();
      reading.end_of_last_ = reading.Here();
    });
  };
  handler.characters = [](void* self, const xmlChar* text, int size) {
    TryPart(self, [&](Reading& reading) {
      reading.builder_.AddText({Chars(text), static_cast<std::size_t>(size)}, reading.end_of_last_);
      reading.end_of_last_ = reading.Here();
    });
  };
  handler.comment = [](void* self, const xmlChar* /*text*/) {
    TryPart(self, [](Reading& reading) { reading.AddOther(kComment); });
  };
  handler.processingInstruction = [](void* self, const xmlChar* /*target*/,
                                     const xmlChar* /*data*/) {
    TryPart(self, [](Reading& reading) { reading.AddOther(kProcessingInstruction); });
  };
  handler.entityDecl = [](void* self, const xmlChar* /*name*/, int /*type*/,
                          const xmlChar* /*public_id*/, const xmlChar* /*system_id*/,
                          xmlChar* /*text*/) {
    Try(self, [](Reading& reading) { reading.RefuseEntity(); });
  };
  handler.unparsedEntityDecl = [](void* self, const xmlChar* /*name*/, const xmlChar* /*public_id*/,
                                  const xmlChar* /*system_id*/, const xmlChar* /*notation*/) {
    Try(self, [](Reading& reading) { reading.RefuseEntity(); });
  };
  return handler;
}

template <class Step>
void Reading::Try(void* reading, Step step) {
  auto& self = *static_cast<Reading*>(reading);
  try {
    if (self.failure_ == nullptr) {
      step(self);
    }
  } catch (...) {
    self.failure_ = std::current_exception();
  }
}

template <class Step>
void Reading::TryPart(void* reading, Step step) {
  Try(reading, [&](Reading& self) {
    if (self.parser_->inSubset == 0) {  // the document type declaration is one thing, as a tag is
      self.input_.EndMarkup(self.Line());
    }
    step(self);
    if (self.builder_.contents() > kMaxContents) {
      self.input_.Refuse(self.Line(),
                         "the document has more than 32 Mi elements, texts and comments; split it "
                         "into several");
    }
  });
}

int Reading::Read(void* reading, char* buffer, int size) {
  std::size_t count = 0;
  Try(reading, [&](Reading& self) {
    if (xmlDictSize(self.parser_->dict) > kMaxNames) {
      self.input_.Refuse(self.Line(),
                         "the document has more than 64 Ki different names; split it into several");
    }
    count = self.input_.Read(buffer, static_cast<std::size_t>(size), self.Line());
  });
  return static_cast<int>(count);
}

// Colons have no meaning here, so none is misplaced.
void Reading::TakeError(void* reading, xmlErrorPtr error) {
  Try(reading, [&](Reading& self) {
    if (error->level >= XML_ERR_ERROR && error->domain != XML_FROM_NAMESPACE) {
      self.input_.Refuse(self.Line(), kNoXml + Tidy(self.Explain(*error)));
    }
  });
}

// What stands in the document type declaration is no content.
void Reading::AddOther(ContentType type) {
  if (parser_->inSubset == 0) {
    builder_.AddOther(type);
  }
  end_of_last_ = Here();
}

// The parser has got as far as the tag's end, and may have forgotten where a long one began. Before
// the root there are blanks of which it tells nothing; but in a tag there is no other "<" than its
// first.
Position Reading::BeginOfTag() const {
  if (builder_.IsInside()) {
    return end_of_last_;
  }
  const xmlParserInput& input = *parser_->input;
  const std::string_view known(Chars(input.base), static_cast<std::size_t>(input.cur - input.base));
  const std::size_t begin = std::min(known.rfind('<'), known.size());
  return BeginOf(known.substr(begin), Here(), known.substr(0, begin));
}

void Reading::RefuseEntity() const {
  input_.Refuse(Line(),
                "a document may not declare entities; remove the declaration and write the text "
                "itself where the entity is used");
}

std::string Reading::Explain(const xmlError& error) const {
  if (error.domain != XML_FROM_PARSER) {
    return error.message;  // of the decoder, while the parser's place in its buffer is undefined
  }
  if (std::string why = WhyNoFurther(); !why.empty()) {
    return why;
  }
  if (error.code != XML_ERR_TAG_NAME_MISMATCH) {
    return error.message;
  }
  // The parser's own words lack the line.
  return std::string("Opening and ending tag mismatch: ") + error.str1 + " line " +
         std::to_string(builder_.open_line()) + " and " + error.str2;
}

// Answers why the parser takes the place where it is for the end of the file when it is none.
std::string Reading::WhyNoFurther() const {
  const xmlParserInput& input = *parser_->input;
  if (input.cur != input.end) {
    return *input.cur == 0 ? "a NUL byte is no part of a document" : "";
  }
  const bool decoded = input.buf->raw == nullptr || xmlBufUse(input.buf->raw) == 0;
  return decoded ? "" : "bytes that are none of the document's encoding";
}

}  // namespace

Document Document::Read(const std::string& path) {
  Document document;
  Reading(path, &document).Run();
  return document;
}

}  // namespace devhost
