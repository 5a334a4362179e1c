#pragma once

#include <deque>
#include <stdexcept>
#include <string>

#include "devhost/libe/position.h"
#include "host/kaml.h"

// One node of a document, owned by its Document.
struct kaml_content {
  int type;
  bool has_attributes = false;  // namespace declarations among them; they are no contents
  const char* name;             // interned; null for what is no element
  std::string text;             // empty for what is no text
  kaml_content* next = nullptr;
  kaml_content* first_child = nullptr;
  kaml_content* last_child = nullptr;
  devhost::Position begin = {};  // in the file that it comes from, if it comes from one
};

namespace devhost {

// The types of contents. The contract with plug-ins fixes the first two; to a plug-in all others
// are alike.
enum ContentType {
  kText = 0,
  kElement = 1,
  kComment = 2,
  kProcessingInstruction = 3,
};

// A document that cannot be read, is no well-formed XML or more than a document may be; what() is a
// sentence that names the file and, unless it cannot be read at all, the line.
class DocumentError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A document as a plug-in receives it: a list of top-level contents, each an element with children,
// a text, or something of another kind. It owns its contents; they live as long as it does, also
// when it is moved, which leaves an empty document behind. For one thread at a time.
class Document {
 public:
  Document() = default;
  Document(Document&&) = default;
  Document& operator=(Document&&) = default;

  // Reads the XML file at `path`, which may be a pipe or a device too. Throws DocumentError.
  //
  // An element's name is taken as it is written, a prefix included; attributes and namespace
  // declarations are not part of the document. Character references, the five predefined entities
  // and CDATA become text. White space between elements is a text like any other. Comments and
  // processing instructions are contents of other kinds. The document type declaration is no
  // content, and nothing is fetched from outside the file.
  //
  // A document may be as deep as it likes, and needs no stack for it. It may not declare entities,
  // be longer than 256 MiB, have more than 32 Mi contents or 64 Ki different names, or spend more
  // than 64 KiB on one tag, comment, CDATA section or document type declaration.
  static Document Read(const std::string& path);

  // Adds a content at the end of `parent`'s children, or of the top level when `parent` is null,
  // and answers it. Names are interned, texts copied.
  kaml_content* AddElement(kaml_content* parent, const char* name);
  kaml_content* AddText(kaml_content* parent, const char* text);
  kaml_content* AddOther(kaml_content* parent, int type);

  // Answers the first top-level content, null for an empty document.
  const kaml_content* contents() const {
    return contents_.empty() ? nullptr : contents_.front().first_child;
  }

 private:
  kaml_content* Add(kaml_content* parent, kaml_content content);

  // The first one, unseen from outside, is the parent of the top level. A flat list, so that
  // freeing the deepest tree does not recurse; a deque, so that contents stay where they are.
  std::deque<kaml_content> contents_;
};

}  // namespace devhost
