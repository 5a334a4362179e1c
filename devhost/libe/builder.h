#pragma once

#include <cstddef>
#include <optional>
#include <stack>
#include <string>
#include <string_view>

#include "devhost/libe/document.h"

namespace devhost {

// Builds a document part by part, in file order. It keeps the open elements here, not on the call
// stack, so deep documents need no deep recursion.
class Builder {
 public:
  explicit Builder(Document* document) : document_(document) {}

  // `name` is interned.
  void StartElement(const char* name, bool has_attributes, Position begin) {
    EndText();
    open_.push(document_->AddElementNamed(Parent(), name, begin, has_attributes));
    ++contents_;
  }

  void EndElement() {
    EndText();
    open_.pop();
  }

  // Text arrives in pieces, including CDATA sections. There is no text outside elements.
  void StartText(Position begin) {
    text_begin_ = begin;
    ++contents_;
  }
  bool is_in_text() const { return text_begin_.has_value(); }
  void AddText(std::string_view text) { text_.append(text); }

  void AddOther(ContentType type) {
    EndText();
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

  void EndText() {
    if (text_begin_.has_value()) {
      document_->AddText(Parent(), text_, *text_begin_);
      text_.clear();
      text_begin_.reset();
    }
  }

  Document* const document_;
  std::stack<kaml_content*> open_;
  std::string text_;  // which has not ended
  std::optional<Position> text_begin_;
  std::size_t contents_ = 0;
};

}  // namespace devhost
