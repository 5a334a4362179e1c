#pragma once

#include <string>

namespace devhost {

// Writes the file at `path`, following links, whole or not at all: what was there before stays
// until all is written. A device or a pipe is written as it is. Throws std::runtime_error with a
// sentence that names the file.
void WriteWhole(const std::string& path, const std::string& text);

}  // namespace devhost
