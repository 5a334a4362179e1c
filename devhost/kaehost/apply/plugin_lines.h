#pragma once

#include <string>
#include <string_view>

namespace devhost {

// Returns the lines of the plug-in `text` for a reader who wants to see only those that report an
// error: each run of other lines becomes one line with their number. A missing file is not an
// error here, because no kernel has all files of the catalogue.
std::string Folded(std::string_view text);

}  // namespace devhost
