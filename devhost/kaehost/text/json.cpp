#include "devhost/kaehost/text/json.h"

#include <nlohmann/json.hpp>

#include "devhost/kaehost/text/characters.h"

namespace devhost {

std::string JsonText(const Json& json, int indent) {
  return Escaped(json.dump(indent, ' ', false, Json::error_handler_t::replace));
}

}  // namespace devhost
