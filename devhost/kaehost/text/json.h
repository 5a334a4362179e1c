#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace devhost {

using Json = nlohmann::ordered_json;

// Answers the text of a JSON document. What documents and plug-ins say need not be UTF-8; what is
// not is replaced.
inline std::string JsonText(const Json& json) {
  constexpr int kIndent = 2;
  return json.dump(kIndent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace devhost
