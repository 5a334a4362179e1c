#pragma once

#include <cstddef>
#include <stack>
#include <string_view>

#include "devhost/libe/document.h"

namespace devhost {

// Builds a document part by part, in file order. It keeps the open elements here, not on the call
// stack, so deep documents need no deep recursion.
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

  // Text arrives in pieces, including CDATA sections. There is no text outside elements.
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

  // Returns the number of contents in the document.
  std::size_t contents() const { return contents_; }

  // Returns the number of elements that are open.
  std::size_t depth() const { return open_.size(); }

  // Returns the innermost open element, null if there is none.
  const kaml_content* open_element() const { return Parent(); }

 private:
  kaml_content* Parent() const { return open_.empty() ? nullptr : open_.top(); }

  Document* const document_;
  std::stack<kaml_content*> open_;
  std::size_t contents_ = 0;
};

}  // namespace devhost
