// Implements the host's table of names: equal texts get the same pointer.

#include "devhost/libe/interning.h"

#include <mutex>
#include <unordered_set>

#include "host/kaml.h"

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

std::vector<std::string> devhost::InternedNames() {
  Names& names = TheNames();
  const std::lock_guard lock(names.mutex);
  return {names.in_order.begin(), names.in_order.end()};
}
