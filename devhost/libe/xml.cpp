// Reads documents from XML.

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
// Above this, the parser's dictionary stops growing and each new name takes longer than the last.
constexpr int kMaxNames = 64 << 10;
constexpr std::size_t kMaxReason = 200;
constexpr const char* kNoXml = "cannot be read as XML: ";

const char* Chars(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

// Shortens the parser's message to one short line: names in it can have any length.
std::string Tidy(std::string reason) {
  reason.erase(reason.find_last_not_of('\n') + 1);
  std::replace(reason.begin(), reason.end(), '\n', ' ');
  if (reason.size() > kMaxReason) {
    std::size_t end = kMaxReason;
    while ((reason[end] & '\xc0') == '\x80') {  // inside a character
      --end;
    }
    reason.resize(end);
    reason += "...";
  }
  return reason;
}

// Builds a document from the parser's callbacks, part by part: without a second tree and without
// recursion. It uses the SAX1 interface, which keeps names as written. It stops at the first
// failure, because that one explains the others.
class Reading {
 public:
  Reading(const std::string& path, Document* document) : input_(path), builder_(document) {}

  // Reads it all. Throws DocumentError.
  void Run();

 private:
  using Parser = std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxt*)>;

  static xmlSAXHandler Handler();
  static Parser NewParser(Reading* reading);

  // The parser's callbacks. The parser is C code: no exception may pass through it.
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
  Position end_of_last_ = {1, 1};  // of the last part; inside the root, the next one begins here
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
        xmlFreeDoc(done->myDoc);  // exists if the file ended inside its entity declarations
        xmlFreeParserCtxt(done);
      });
  if (parser == nullptr) {
    throw std::bad_alloc();
  }
  xmlCtxtUseOptions(parser.get(), XML_PARSE_HUGE);
  return parser;
}

// Nothing is fetched from outside the file: no handler does that.
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
    if (self.parser_->inSubset == 0) {  // the document type declaration counts as one, like a tag
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

// Colons have no meaning here, so namespace errors are ignored.
void Reading::TakeError(void* reading, xmlErrorPtr error) {
  Try(reading, [&](Reading& self) {
    if (error->level >= XML_ERR_ERROR && error->domain != XML_FROM_NAMESPACE) {
      self.input_.Refuse(self.Line(), kNoXml + Tidy(self.Explain(*error)));
    }
  });
}

// Parts of the document type declaration are not contents.
void Reading::AddOther(ContentType type) {
  if (parser_->inSubset == 0) {
    builder_.AddOther(type);
  }
  end_of_last_ = Here();
}

// The parser is at the end of the tag, and may no longer know where a long tag began. Inside the
// root, a tag begins where the last part ended. Before the root, the parser does not report white
// space, so look back for "<": a tag contains only one.
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
    return error.message;  // from the decoder; the parser's buffer position is undefined now
  }
  if (std::string why = WhyNoFurther(); !why.empty()) {
    return why;
  }
  if (error.code != XML_ERR_TAG_NAME_MISMATCH) {
    return error.message;
  }
  // The parser's own message does not contain the line.
  return std::string("Opening and ending tag mismatch: ") + error.str1 + " line " +
         std::to_string(builder_.open_line()) + " and " + error.str2;
}

// Returns why the parser stopped here as if the file ended, although it did not; else empty.
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
