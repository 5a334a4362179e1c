#pragma once

#include <array>
#include <cstddef>

namespace model {

// What the plug-in promises about one setting.
struct Row {
  const char* name;      // of the setting and of its element
  const char* file;      // below /proc/sys/net
  const char* fallback;  // the built-in default
  std::size_t values;    // in its file: its own and those of the rows after it; 0 in these rows
  bool reset;            // a new layer starts with the default, whatever the file holds
};

extern const std::array<Row, 57> kCatalogue;

}  // namespace model
