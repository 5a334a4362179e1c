// Implements the host's table of names: equal texts get the same pointer.

#include "devhost/libe/interning.h"

#include <mutex>

#include "devhost/libe/names.h"
#include "devhost/libe/observer.h"
#include "host/kaml.h"

namespace {

struct Table {
  std::mutex mutex;
  devhost::Names names;
  std::vector<const char*> in_order;
};

// Never destroyed: a plug-in uses its names even during static destruction.
Table& TheTable() {
  static auto& table = *new Table;
  return table;
}

}  // namespace

const char* kaml_intern(const char* text) {
  Table& table = TheTable();
  const std::lock_guard lock(table.mutex);
  const auto [name, is_new] = table.names.Add(text);
  if (is_new) {
    table.in_order.push_back(name);
  }
  return devhost::Observed("kaml_intern", text, name);
}

std::vector<std::string> devhost::InternedNames() {
  Table& table = TheTable();
  const std::lock_guard lock(table.mutex);
  return {table.in_order.begin(), table.in_order.end()};
}
