#pragma once

#include <nlohmann/json.hpp>
#include <string>

// Returns the JSON of a text, or throws. The parser is compiled here only, which saves each test
// file an eighth of its time.
nlohmann::json Parsed(const std::string& text);
