#include "devhost/libe/document.h"

#include <utility>

namespace devhost {

std::string InputName(const std::string& path) { return path == "-" ? "standard input" : path; }

kaml_content* Document::AddElement(kaml_content* parent, const char* name) {
  return Add(parent, {.type = kElement, .name = kaml_intern(name), .text = {}});
}

kaml_content* Document::AddText(kaml_content* parent, const char* text) {
  return Add(parent, {.type = kText, .name = nullptr, .text = text});
}

kaml_content* Document::AddOther(kaml_content* parent, int type) {
  return Add(parent, {.type = type, .name = nullptr, .text = {}});
}

kaml_content* Document::Add(kaml_content* parent, kaml_content content) {
  if (contents_.empty()) {
    contents_.push_back({.type = kElement, .name = nullptr, .text = {}});
  }
  kaml_content& siblings = parent != nullptr ? *parent : contents_.front();
  kaml_content* added = &contents_.emplace_back(std::move(content));
  (siblings.last_child != nullptr ? siblings.last_child->next : siblings.first_child) = added;
  siblings.last_child = added;
  return added;
}

}  // namespace devhost
