#pragma once

#include <deque>
#include <stdexcept>
#include <string>

#include "devhost/libe/limits.h"
#include "host/kaml.h"

namespace devhost {

// A position in a file. Both start at 1; columns count characters.
struct Position {
  int line;
  int column;
};

}  // namespace devhost

// One node of a document, owned by its Document.
struct kaml_content {
  int type;
  bool has_attributes = false;  // or namespace declarations; attributes are not contents
  const char* name;             // interned; null if this is not an element
  std::string text;             // empty if this is not text
  kaml_content* next = nullptr;
  kaml_content* first_child = nullptr;
  kaml_content* last_child = nullptr;
  devhost::Position begin = {};  // in the file, if it was read from a file
};

namespace devhost {

// The types of contents. The contract with plug-ins defines the first two. A plug-in does not
// distinguish the others.
enum ContentType {
  kText = 0,
  kElement = 1,
  kComment = 2,
  kProcessingInstruction = 3,
};

// The document cannot be read, is not well-formed XML, or exceeds a limit. what() is a sentence
// with the file and, if the file can be read, the position.
class DocumentError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Returns the name of an input file in sentences: its path, or "standard input" for "-".
std::string InputName(const std::string& path);

// A document as a plug-in receives it: a list of top-level contents. Each is an element with
// children, a text, or of another type. The document owns its contents. They stay valid when it is
// moved; the source is empty then. Use it from one thread at a time.
class Document {
 public:
  Document() = default;
  Document(Document&&) = default;
  Document& operator=(Document&&) = default;

  // Reads the XML file at `path`, which can also be a pipe or a device, or standard input if that
  // is "-". Throws DocumentError.
  //
  // - Element names are kept as written, including a prefix.
  // - Character references, the five predefined entities and CDATA become text. White space between
  //   elements is text too.
  // - Comments and processing instructions are contents of other types.
  // - Attributes, namespace declarations and the document type declaration are not contents.
  // - Nothing is fetched from outside the file.
  //
  // Entity declarations are refused, and more than `limits`. Depth needs no stack.
  static Document Read(const std::string& path, const Limits& limits = {});

  // Appends a content to the children of `parent`, or to the top level if `parent` is null, and
  // returns it. Names are interned, texts are copied.
  kaml_content* AddElement(kaml_content* parent, const char* name);
  kaml_content* AddText(kaml_content* parent, const char* text);
  kaml_content* AddOther(kaml_content* parent, int type);

  // Returns the first top-level content, null for an empty document.
  const kaml_content* contents() const {
    return contents_.empty() ? nullptr : contents_.front().first_child;
  }

 private:
  kaml_content* Add(kaml_content* parent, kaml_content content);

  // The first element is hidden: it is the parent of the top level. The list is flat, so freeing a
  // deep tree does not recurse. A deque never moves its elements.
  std::deque<kaml_content> contents_;
};

}  // namespace devhost
