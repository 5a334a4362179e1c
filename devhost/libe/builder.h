#pragma once

#include <cstddef>
#include <stack>

#include "devhost/libe/document.h"

namespace devhost {

// Fills a document part by part, in the order of a file. How deep it is in the document is kept
// here, not on the stack.
class Builder {
 public:
  explicit Builder(Document* document) : document_(document) {}

  void StartElement(const char* name, int line) {
    kaml_content* element = document_->AddElement(Parent(), name);
    open_.push({element, line});
    ++contents_;
  }

  void EndElement() { open_.pop(); }

  // A text comes in pieces, CDATA sections among them. There is none outside of elements.
  void AddText(const char* text, std::size_t size) {
    kaml_content* last = Parent()->last_child;
    if (last == nullptr || last->type != kText) {
      last = document_->AddText(Parent(), "");
      ++contents_;
    }
    last->text.append(text, size);
  }

  void AddOther(ContentType type) {
    document_->AddOther(Parent(), type);
    ++contents_;
  }

  // Answers how many contents the document has.
  std::size_t contents() const { return contents_; }

  // Answers the line of the element that is open.
  int open_line() const { return open_.top().line; }

 private:
  struct OpenElement {
    kaml_content* element;
    int line;
  };

  kaml_content* Parent() const { return open_.empty() ? nullptr : open_.top().element; }

  Document* const document_;
  std::stack<OpenElement> open_;
  std::size_t contents_ = 0;
};

}  // namespace devhost
