#pragma once

#include <string>
#include <vector>

namespace devhost {

// Answers every name that has been interned, in the order in which they came.
std::vector<std::string> Vocabulary();

}  // namespace devhost
