#pragma once

#include <string>

namespace devhost {

// Returns the text of a file, or of standard input if the path is "-", without the mark with which
// some editors begin UTF-8. Throws std::runtime_error with a sentence if it cannot be read, and
// also if it is longer than 1 MiB; that sentence ends with the advice `if_longer`.
std::string ReadInputFile(const std::string& path, const std::string& if_longer);

}  // namespace devhost
