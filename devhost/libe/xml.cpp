// Reads documents from XML.

#include <expat.h>
#include <strings.h>

#include <cstddef>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "devhost/libe/builder.h"
#include "devhost/libe/document.h"
#include "devhost/libe/encoding.h"
#include "devhost/libe/input.h"
#include "devhost/libe/names.h"
#include "devhost/libe/xml_error.h"

namespace devhost {
namespace {

// Builds a document from the parser's callbacks, part by part: without a second tree and without
// recursion. The parser gets UTF-8, whatever the document is in, and ignores namespaces, so that
// names stay as written. The first failure ends the reading.
class Reading {
 public:
  Reading(const std::string& path, const Limits& limits, Document* document)
      : limits_(limits), input_(path), builder_(document) {}

  // Reads it all. Throws DocumentError and std::bad_alloc.
  void Run();

 private:
  using Parser = std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)>;

  // Nothing is fetched from outside the file: no handler does that.
  static Parser NewParser(Reading* reading);

  // What the parser calls. It is C code: no exception may pass through it. After a failure, the
  // rest of the piece is ignored.
  template <auto Take, class... Arguments>
  static void Call(void* reading, Arguments... arguments);
  void TakeDeclaration(const char* version, const char* encoding, int standalone);
  void TakeStart(const char* name, const char** attributes);
  void TakeEnd(const char* name);
  void TakeText(const char* text, int size);
  void TakeCdata() { TakeText("", 0); }
  void TakeComment(const char* /*text*/) { AddOther(kComment); }
  void TakeInstruction(const char* /*target*/, const char* /*text*/) {
    AddOther(kProcessingInstruction);
  }
  void TakeTypeEnd();
  void TakeOther(const char* text, int size);

  void Parse(std::string_view text, bool is_final);
  void AddOther(ContentType type);
  void EndMarkup();
  const char* Interned(const char* name);
  void CheckNames() const;
  void CheckContents() const;

  [[noreturn]] void RefuseAsXml(const std::string& why) const;
  [[noreturn]] void RefuseEncoding(const std::string& declared) const;
  [[noreturn]] void RefuseLength() const;

  // Returns where the part begins that the parser reports, and the index of its end.
  Position Here() const;
  XML_Index End() const;

  const Limits limits_;
  Input input_;
  std::string encoding_;
  bool has_mark_ = false;  // a byte order mark
  Builder builder_;
  std::size_t attributes_ = 0;
  std::unordered_set<std::string_view> names_;  // of elements, interned
  Names attribute_names_;
  XML_Index parsed_ = 0;                // bytes that the parser has
  XML_Index part_begin_ = 0;            // where the last part ended that it understood
  std::optional<Position> type_begin_;  // inside the document type declaration, which is one part
  std::exception_ptr failure_;
  const Parser parser_ = NewParser(this);
};

void Reading::Run() {
  std::string_view bytes = input_.Read();
  encoding_ = EncodingOf(bytes);
  Decoder decoder(encoding_);
  if (!decoder.knows_encoding()) {
    RefuseAsXml("the encoding " + encoding_ + " is not supported; save the document as UTF-8");
  }
  for (bool is_first = true;; is_first = false, bytes = input_.Read()) {
    if (input_.bytes() > limits_.bytes) {
      input_.Refuse(Here(), "the document is longer than " + std::to_string(limits_.bytes >> 20) +
                                " MiB; split it into several");
    }
    const std::string_view text = decoder.Decode(bytes, input_.is_at_end());
    if (is_first) {
      has_mark_ = text.starts_with("\xef\xbb\xbf");
      if (bytes.starts_with("<?xml") && !text.starts_with("<?xml")) {
        RefuseEncoding(encoding_);
      }
    }
    Parse(text, input_.is_at_end() && !decoder.has_failed());
    if (decoder.has_failed()) {
      RefuseAsXml("bytes that are invalid in " + encoding_ + "; save the document as UTF-8");
    }
    if (input_.is_at_end()) {
      return;
    }
  }
}

Reading::Parser Reading::NewParser(Reading* reading) {
  Parser parser(XML_ParserCreate("UTF-8"), XML_ParserFree);
  if (parser == nullptr) {
    throw std::bad_alloc();
  }
  XML_SetUserData(parser.get(), reading);
  XML_SetXmlDeclHandler(parser.get(), Call<&Reading::TakeDeclaration>);
  XML_SetElementHandler(parser.get(), Call<&Reading::TakeStart>, Call<&Reading::TakeEnd>);
  XML_SetCharacterDataHandler(parser.get(), Call<&Reading::TakeText>);
  XML_SetStartCdataSectionHandler(parser.get(), Call<&Reading::TakeCdata>);
  XML_SetCommentHandler(parser.get(), Call<&Reading::TakeComment>);
  XML_SetProcessingInstructionHandler(parser.get(), Call<&Reading::TakeInstruction>);
  XML_SetEndDoctypeDeclHandler(parser.get(), Call<&Reading::TakeTypeEnd>);
  XML_SetDefaultHandler(parser.get(), Call<&Reading::TakeOther>);
  return parser;
}

template <auto Take, class... Arguments>
void Reading::Call(void* reading, Arguments... arguments) {
  auto& self = *static_cast<Reading*>(reading);
  try {
    if (self.failure_ == nullptr) {
      (self.*Take)(arguments...);
    }
  } catch (...) {
    self.failure_ = std::current_exception();
  }
}

void Reading::Parse(std::string_view text, bool is_final) {
  const auto size = static_cast<int>(text.size());
  const XML_Status status = XML_Parse(parser_.get(), text.data(), size, is_final ? 1 : 0);
  if (failure_ != nullptr) {
    std::rethrow_exception(failure_);
  }
  if (status != XML_STATUS_OK) {
    if (XML_GetErrorCode(parser_.get()) == XML_ERROR_NO_MEMORY) {
      throw std::bad_alloc();
    }
    RefuseAsXml(Explain(parser_.get(), part_begin_, builder_.open_element()));
  }
  // Later versions of the parser look at an unfinished part again only when they have twice as
  // much.
  parsed_ += size;
  if (parsed_ - part_begin_ > 2 * static_cast<XML_Index>(limits_.markup) + size) {
    RefuseLength();
  }
}

// The parser accepts any version, and does not compare what the document says of its encoding.
void Reading::TakeDeclaration(const char* version, const char* encoding, int /*standalone*/) {
  EndMarkup();
  const std::string_view number = version;
  if (!number.starts_with("1.") || number.size() == 2 ||
      number.find_first_not_of("0123456789", 2) != std::string_view::npos) {
    RefuseAsXml("the XML declaration names no version of XML; write version=\"1.0\"");
  }
  if (encoding != nullptr && strncasecmp(encoding, encoding_.c_str(), std::strlen(encoding)) != 0) {
    RefuseEncoding(encoding);
  }
}

void Reading::TakeStart(const char* name, const char** attributes) {
  EndMarkup();
  for (const char** attribute = attributes; *attribute != nullptr; attribute += 2) {
    attribute_names_.Add(*attribute);
    ++attributes_;
  }
  builder_.StartElement(Interned(name), XML_GetSpecifiedAttributeCount(parser_.get()) > 0, Here());
  CheckNames();
  CheckContents();
  if (builder_.depth() > limits_.levels) {
    input_.Refuse(Here(), "the document has more than " + std::to_string(limits_.levels >> 20) +
                              " Mi elements inside each other; remove some");
  }
}

void Reading::TakeEnd(const char* /*name*/) {
  EndMarkup();
  builder_.EndElement();
}

void Reading::TakeText(const char* text, int size) {
  part_begin_ = End();
  if (!builder_.is_in_text()) {
    builder_.StartText(Here());
    CheckContents();
  }
  builder_.AddText({text, static_cast<std::size_t>(size)});
}

void Reading::TakeTypeEnd() {
  EndMarkup();
  type_begin_.reset();
}

// Takes what has no handler.
void Reading::TakeOther(const char* text, int size) {
  const std::string_view token(text, static_cast<std::size_t>(size));
  if (token == "<!DOCTYPE") {
    type_begin_ = Here();
  } else if (token == "<!ENTITY") {
    input_.Refuse(Here(),
                  "a document may not declare entities; remove the declaration and write the text "
                  "itself where the entity is used");
  } else if (token.starts_with('&')) {  // which a file elsewhere might declare
    RefuseAsXml(AboutEntity(token));
  }
  if (!type_begin_.has_value()) {
    part_begin_ = End();
  }
}

// The host's table needs a lock, so it is asked once for each name.
const char* Reading::Interned(const char* name) {
  const auto known = names_.find(name);
  return known != names_.end() ? known->data() : names_.insert(kaml_intern(name)).first->data();
}

void Reading::CheckNames() const {
  if (names_.size() + attribute_names_.size() > limits_.names) {
    input_.Refuse(Here(), "the document has more than " + std::to_string(limits_.names >> 10) +
                              " Ki different names; split it into several");
  }
}

// Parts of the document type declaration are not contents.
void Reading::AddOther(ContentType type) {
  if (!type_begin_.has_value()) {
    EndMarkup();
    builder_.AddOther(type);
    CheckContents();
  }
}

void Reading::EndMarkup() {
  const XML_Index begin = std::exchange(part_begin_, End());
  if (part_begin_ - begin > static_cast<XML_Index>(limits_.markup)) {
    RefuseLength();
  }
}

void Reading::CheckContents() const {
  if (builder_.contents() + attributes_ > limits_.contents) {
    input_.Refuse(Here(),
                  "the document has more than " + std::to_string(limits_.contents >> 20) +
                      " Mi elements, attributes, texts and comments; split it into several");
  }
}

void Reading::RefuseAsXml(const std::string& why) const {
  input_.Refuse(Here(), "cannot be read as XML: " + why);
}

void Reading::RefuseEncoding(const std::string& declared) const {
  RefuseAsXml(
      "the document is not in " + declared +
      ", which its XML declaration names; save it as UTF-8 and write encoding=\"UTF-8\" there");
}

void Reading::RefuseLength() const {
  input_.Refuse(type_begin_.value_or(Here()),
                "a tag, a comment, a processing instruction or a document type declaration is "
                "longer than " +
                    std::to_string(limits_.markup >> 10) + " KiB; shorten it");
}

// The parser counts columns from 0, and a byte order mark as a character.
Position Reading::Here() const {
  const auto line = static_cast<int>(XML_GetCurrentLineNumber(parser_.get()));
  const auto column = static_cast<int>(XML_GetCurrentColumnNumber(parser_.get()));
  return {line, line == 1 && has_mark_ ? column : column + 1};
}

XML_Index Reading::End() const {
  return XML_GetCurrentByteIndex(parser_.get()) + XML_GetCurrentByteCount(parser_.get());
}

}  // namespace

Document Document::Read(const std::string& path, const Limits& limits) {
  Document document;
  Reading(path, limits, &document).Run();
  return document;
}

}  // namespace devhost
