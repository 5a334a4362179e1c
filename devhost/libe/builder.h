#pragma once

#include <cstddef>
#include <stack>
#include <string_view>

#include "devhost/libe/document.h"

namespace devhost {

// Fills a document part by part, in the order of a file. How deep it is in the document is kept
// here, not on the stack.
class Builder {
 public:
  explicit Builder(Document* document) : document_(document) {}

  void StartElement(const char* name, bool has_attributes, Position begin) {
    kaml_content* element = document_->AddElement(Parent(), name);
    element->has_attributes = has_attributes;
    element->begin = begin;
    open_.push(element);
    ++contents_;
  }

  void EndElement() { open_.pop(); }

  // A text comes in pieces, CDATA sections among them. There is none outside of elements.
  void AddText(std::string_view text, Position begin) {
    kaml_content* last = Parent()->last_child;
    if (last == nullptr || last->type != kText) {
      last = document_->AddText(Parent(), "");
      last->begin = begin;
      ++contents_;
    }
    last->text.append(text);
  }

  void AddOther(ContentType type) {
    document_->AddOther(Parent(), type);
    ++contents_;
  }

  // Answers whether an element is open.
  bool IsInside() const { return !open_.empty(); }

  // Answers how many contents the document has.
  std::size_t contents() const { return contents_; }

  // Answers the line of the element that is open.
  int open_line() const { return open_.top()->begin.line; }

 private:
  kaml_content* Parent() const { return open_.empty() ? nullptr : open_.top(); }

  Document* const document_;
  std::stack<kaml_content*> open_;
  std::size_t contents_ = 0;
};

}  // namespace devhost
