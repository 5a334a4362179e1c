#pragma once

#include <cstdint>
#include <memory>
#include <memory_resource>
#include <stdexcept>
#include <string>
#include <string_view>

#include "devhost/libe/limits.h"
#include "host/kaml.h"

namespace devhost {

// A position in a file. Both start at 1; columns count characters.
struct Position {
  int line;
  int column;
};

// The types of contents. The contract with plug-ins defines the first two. A plug-in does not
// distinguish the others.
enum ContentType {
  kText = 0,
  kElement = 1,
  kComment = 2,
  kProcessingInstruction = 3,
};

class Document;

}  // namespace devhost

// One node of a document, owned by its Document. Large documents consist of these, so a content has
// only four words.
struct kaml_content {
 public:
  devhost::ContentType type() const { return type_; }

  // Returns the interned name, null if this is not an element.
  const char* name() const { return type_ == devhost::kElement ? name_or_text_ : nullptr; }

  // Returns the text, empty if this is not text.
  const char* text() const { return type_ == devhost::kText ? name_or_text_ : ""; }

  const kaml_content* next() const { return is_last_ ? nullptr : next_; }
  const kaml_content* first_child() const {
    return last_child_ != nullptr ? last_child_->next_ : nullptr;
  }

  // Returns whether there are attributes or namespace declarations, which are not contents.
  bool has_attributes() const { return has_attributes_; }

  // Returns the position in the file, if it was read from a file.
  devhost::Position begin() const { return {static_cast<int>(line_), static_cast<int>(column_)}; }

 private:
  friend class devhost::Document;

  static constexpr std::uint32_t kMostPosition = (1U << 30) - 1;
  static_assert(devhost::Limits().bytes < kMostPosition);

  kaml_content(devhost::ContentType type, const char* name_or_text, devhost::Position begin,
               bool has_attributes)
      : name_or_text_(name_or_text),
        line_(static_cast<std::uint32_t>(begin.line) & kMostPosition),
        has_attributes_(has_attributes),
        column_(static_cast<std::uint32_t>(begin.column) & kMostPosition),
        type_(type) {}

  const char* name_or_text_;
  kaml_content* next_ = this;           // the siblings are a ring: the first one follows the last
  kaml_content* last_child_ = nullptr;  // null if there is none
  std::uint32_t line_ : 30;
  bool has_attributes_ : 1;
  bool is_last_ : 1 = true;
  std::uint32_t column_ : 30;
  devhost::ContentType type_ : 2;
};

namespace devhost {

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
  kaml_content* AddText(kaml_content* parent, std::string_view text, Position begin = {});
  kaml_content* AddOther(kaml_content* parent, ContentType type);

  // Appends an element with this very pointer as its name, which a plug-in knows if it is interned.
  kaml_content* AddElementNamed(kaml_content* parent, const char* name, Position begin = {},
                                bool has_attributes = false);

  // Returns the first top-level content, null for an empty document.
  const kaml_content* contents() const {
    return storage_ != nullptr ? storage_->root.first_child() : nullptr;
  }

 private:
  // The contents and their texts, one after the other: freeing a deep tree does not recurse.
  struct Storage {
    kaml_content root{kElement, nullptr, {}, false};  // hidden: the parent of the top level
    std::pmr::monotonic_buffer_resource memory;
  };

  Storage& storage();
  kaml_content* Add(kaml_content* parent, ContentType type, const char* name_or_text,
                    Position begin, bool has_attributes);

  std::unique_ptr<Storage> storage_;
};

}  // namespace devhost
