#pragma once

#include <string>
#include <vector>

namespace devhost {

// Returns all interned names, in the order of their first use.
std::vector<std::string> Vocabulary();

}  // namespace devhost
