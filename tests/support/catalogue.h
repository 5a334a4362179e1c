#pragma once

#include <string>
#include <vector>

// The catalogue as the tests expect it, kept apart from the product's own table so that each holds
// the other.
struct ExpectedSetting {
  const char* name;
  const char* kind;  // "core", "plain", "container" or "child"
  const char* file;  // below /proc/sys/net
  const char* default_value;
  const char* container;  // the name of a child's container, else ""
  bool starts_from_default;
};

// The 57 settings in catalogue order.
const std::vector<ExpectedSetting>& ExpectedCatalogue();
