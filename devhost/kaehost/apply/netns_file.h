#pragma once

#include <string>
#include <vector>

namespace devhost {

// Returns the names of network namespaces in a file, one a line, or in standard input if the path
// is "-". Blank lines and lines that begin with "#" have none. Throws std::runtime_error with a
// sentence, also if there is no name.
std::vector<std::string> ReadNetnsFile(const std::string& path);

}  // namespace devhost
