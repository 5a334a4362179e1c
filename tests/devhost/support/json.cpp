#include "tests/devhost/support/json.h"

nlohmann::json Parsed(const std::string& text) { return nlohmann::json::parse(text); }
