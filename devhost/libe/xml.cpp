// Reads documents from XML.

#include <libxml/parser.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "devhost/libe/builder.h"
#include "devhost/libe/document.h"
#include "devhost/libe/input.h"
#include "devhost/libe/prolog.h"
#include "devhost/libe/xml_error.h"

namespace devhost {
namespace {

constexpr std::size_t kParsersNames = 3;  // which its dictionary begins with, such as "xmlns"

const char* Chars(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

// Builds a document from the parser's callbacks, part by part: without a second tree and without
// recursion. It uses the SAX1 interface, which keeps names as written. It stops at the first
// failure, because that one explains the others.
class Reading {
 public:
  Reading(const std::string& path, const Limits& limits, Document* document)
      : limits_(limits), input_(path, limits), builder_(document) {}

  // Reads it all. Throws DocumentError and std::bad_alloc.
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

  void CheckProlog();
  void AddOther(ContentType type);
  [[noreturn]] void RefuseAsXml(int line, const std::string& why) const;
  [[noreturn]] void RefuseEntity() const;
  Position BeginOfTag() const;
  Position Here() const { return {parser_->input->line, parser_->input->col}; }
  int Line() const { return parser_->input->line; }

  const Limits limits_;
  Input input_;
  Prolog prolog_;
  Builder builder_;
  Position end_of_last_ = {1, 1};  // of the last part; inside the root, the next one begins here
  std::exception_ptr failure_;
  const Parser parser_ = NewParser(this);
};

void Reading::Run() {
  errno = 0;
  xmlSetStructuredErrorFunc(this, TakeError);
  xmlParseDocument(parser_.get());
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  if (failure_ != nullptr) {
    std::rethrow_exception(failure_);
  }
  if (const std::string why = WhyNoFurther(*parser_); !why.empty()) {
    RefuseAsXml(Line(), why);
  }
}

Reading::Parser Reading::NewParser(Reading* reading) {
  // Without memory, the parser would print its own message.
  xmlSetStructuredErrorFunc(nullptr, [](void* /*context*/, xmlErrorPtr /*error*/) {});
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
  parser->hasPErefs = 1;  // a reference to an unknown parameter entity is well-formed
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
    if (self.builder_.IsInside()) {
      self.CheckProlog();
    }
    step(self);
    if (self.builder_.contents() > self.limits_.contents) {
      self.input_.Refuse(
          self.Line(), "the document has more than " + std::to_string(self.limits_.contents >> 20) +
                           " Mi elements, texts and comments; split it into several");
    }
  });
}

int Reading::Read(void* reading, char* buffer, int size) {
  std::size_t count = 0;
  Try(reading, [&](Reading& self) {
    const int names = xmlDictSize(self.parser_->dict);
    if (static_cast<std::size_t>(names) > self.limits_.names + kParsersNames) {
      self.input_.Refuse(self.Line(), "the document has more than " +
                                          std::to_string(self.limits_.names >> 10) +
                                          " Ki different names; split it into several");
    }
    count = self.input_.Read(buffer, static_cast<std::size_t>(size), self.Line());
    self.prolog_.Add({buffer, count});
  });
  return static_cast<int>(count);
}

// The other errors that are not fatal are of namespaces, which have no meaning here, or of
// validity.
void Reading::TakeError(void* reading, xmlErrorPtr error) {
  Try(reading, [&](Reading& self) {
    if (error->level == XML_ERR_FATAL ||
        (error->level == XML_ERR_ERROR && error->code == XML_WAR_UNDECLARED_ENTITY)) {
      self.RefuseAsXml(self.Line(), Explain(*self.parser_, *error, self.builder_.open_line()));
    }
  });
}

// Comes after the root's start tag, so that the parser's own message about that tag, or anything
// before it, is the one that is told.
void Reading::CheckProlog() {
  if (const std::optional<Prolog::Fault>& fault = prolog_.FindFault(); fault.has_value()) {
    RefuseAsXml(fault->line, fault->why);
  }
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

// Without memory, the parsers can find fault with any document.
void Reading::RefuseAsXml(int line, const std::string& why) const {
  if (errno == ENOMEM) {
    throw std::bad_alloc();
  }
  input_.Refuse(line, "cannot be read as XML: " + why);
}

void Reading::RefuseEntity() const {
  input_.Refuse(Line(),
                "a document may not declare entities; remove the declaration and write the text "
                "itself where the entity is used");
}

}  // namespace

Document Document::Read(const std::string& path, const Limits& limits) {
  Document document;
  Reading(path, limits, &document).Run();
  return document;
}

}  // namespace devhost
