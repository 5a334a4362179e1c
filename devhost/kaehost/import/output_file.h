#pragma once

#include <string>

namespace devhost {

// Writes the text to a new file beside `path`, then renames it to `path`: nobody sees a part of it,
// and an old file stays if the text cannot be written. Follows symbolic links. Writes devices and
// pipes directly. Throws std::runtime_error with a sentence that names the file.
void WriteWhole(const std::string& path, const std::string& text);

}  // namespace devhost
