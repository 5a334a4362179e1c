#pragma once

#include <array>
#include <cstddef>

namespace model {

// What the plug-in promises about one setting.
struct Row {
  const char* name;      // of the setting and of its element
  const char* file;      // below /proc/sys/net
  const char* fallback;  // the built-in default
  std::size_t values;    // number of values in the file; 0 for all but the first of them
  bool reset;            // a new layer starts with the default, not with the file's value
};

extern const std::array<Row, 57> kCatalogue;

}  // namespace model
