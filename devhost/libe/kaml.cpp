// The document functions: interning, and what a plug-in asks of a content.

#include "host/kaml.h"

#include <mutex>
#include <unordered_set>

#include "devhost/libe/document.h"

const char* kaml_intern(const char* text) {
  // Never destroyed: a plug-in's names outlive even static destruction.
  static auto& table = *new std::unordered_set<std::string>;
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  return table.emplace(text).first->c_str();
}

int kaml_cont_type(const kaml_content* content) { return content->type; }

const kaml_content* kaml_cont_next(const kaml_content* content) { return content->next; }

const char* kaml_elem_name(const kaml_content* content) { return content->name; }

const kaml_content* kaml_elem_contents(const kaml_content* content) { return content->first_child; }

const char* kaml_text(const kaml_content* content) { return content->text.c_str(); }
