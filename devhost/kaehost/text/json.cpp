#include "devhost/kaehost/text/json.h"

#include <nlohmann/json.hpp>

#include "devhost/kaehost/text/characters.h"

namespace devhost {

std::string JsonText(const Json& json) {
  constexpr int kIndent = 2;
  return Escaped(json.dump(kIndent, ' ', false, Json::error_handler_t::replace));
}

}  // namespace devhost
