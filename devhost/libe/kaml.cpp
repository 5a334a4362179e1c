// Implements the document functions: interning, and access to contents.

#include "host/kaml.h"

#include <mutex>
#include <unordered_set>
#include <vector>

#include "devhost/libe/document.h"
#include "devhost/libe/vocabulary.h"

namespace {

struct Names {
  std::mutex mutex;
  std::unordered_set<std::string> table;
  std::vector<const char*> in_order;
};

// Never destroyed: a plug-in uses its names even during static destruction.
Names& TheNames() {
  static auto& names = *new Names;
  return names;
}

}  // namespace

const char* kaml_intern(const char* text) {
  Names& names = TheNames();
  const std::lock_guard lock(names.mutex);
  const auto [name, is_new] = names.table.emplace(text);
  if (is_new) {
    names.in_order.push_back(name->c_str());
  }
  return name->c_str();
}

std::vector<std::string> devhost::Vocabulary() {
  Names& names = TheNames();
  const std::lock_guard lock(names.mutex);
  return {names.in_order.begin(), names.in_order.end()};
}

int kaml_cont_type(const kaml_content* content) { return content->type; }

const kaml_content* kaml_cont_next(const kaml_content* content) { return content->next; }

const char* kaml_elem_name(const kaml_content* content) { return content->name; }

const kaml_content* kaml_elem_contents(const kaml_content* content) { return content->first_child; }

const char* kaml_text(const kaml_content* content) { return content->text.c_str(); }
