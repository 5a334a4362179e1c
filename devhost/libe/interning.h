#pragma once

#include <string>
#include <vector>

namespace devhost {

// Answers every name that kaml_intern has been given, in the order in which they came first.
std::vector<std::string> InternedNames();

}  // namespace devhost
