#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace devhost {

using Json = nlohmann::ordered_json;

// Returns the text of a JSON document, in one line if `indent` is negative. Texts of documents and
// plug-ins can contain bytes that are not UTF-8; these are replaced. Characters that terminals
// execute are escaped.
std::string JsonText(const Json& json, int indent = 2);

}  // namespace devhost
