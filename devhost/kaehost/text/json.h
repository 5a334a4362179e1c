#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace devhost {

using Json = nlohmann::ordered_json;

// Returns the text of a JSON document. Texts of documents and plug-ins can contain bytes that are
// not UTF-8; these are replaced.
inline std::string JsonText(const Json& json) {
  constexpr int kIndent = 2;
  return json.dump(kIndent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace devhost
