#include "devhost/libe/document.h"

#include <algorithm>
#include <new>
#include <utility>

namespace devhost {

std::string InputName(const std::string& path) { return path == "-" ? "standard input" : path; }

kaml_content* Document::AddElement(kaml_content* parent, const char* name) {
  return AddElementNamed(parent, kaml_intern(name));
}

kaml_content* Document::AddElementNamed(kaml_content* parent, const char* name, Position begin,
                                        bool has_attributes) {
  return Add(parent, kElement, name, begin, has_attributes);
}

kaml_content* Document::AddText(kaml_content* parent, std::string_view text, Position begin) {
  auto* const copy = static_cast<char*>(storage().memory.allocate(text.size() + 1, 1));
  *std::copy(text.begin(), text.end(), copy) = '\0';
  return Add(parent, kText, copy, begin, false);
}

kaml_content* Document::AddOther(kaml_content* parent, ContentType type) {
  return Add(parent, type, nullptr, {}, false);
}

Document::Storage& Document::storage() {
  if (storage_ == nullptr) {
    storage_ = std::make_unique<Storage>();
  }
  return *storage_;
}

kaml_content* Document::Add(kaml_content* parent, ContentType type, const char* name_or_text,
                            Position begin, bool has_attributes) {
  void* const place = storage().memory.allocate(sizeof(kaml_content), alignof(kaml_content));
  auto* const added = new (place) kaml_content(type, name_or_text, begin, has_attributes);
  kaml_content*& last = (parent != nullptr ? *parent : storage().root).last_child_;
  if (last != nullptr) {
    last->is_last_ = false;
    added->next_ = std::exchange(last->next_, added);
  }
  return last = added;
}

}  // namespace devhost
