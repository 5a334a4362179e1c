#pragma once

#include <string>
#include <vector>

// The catalogue as the tests expect it. It is separate from the product's table, so that each
// checks the other.
struct ExpectedSetting {
  const char* name;
  const char* kind;  // "core", "plain", "container" or "child"
  const char* file;  // below /proc/sys/net
  const char* default_value;
  const char* container;  // the name of the container for a child, else ""
  bool starts_from_default;
};

// The 57 settings in catalogue order.
const std::vector<ExpectedSetting>& ExpectedCatalogue();
