#include "devhost/kaehost/json_failure.h"

#include <nlohmann/json.hpp>
#include <ostream>

#include "devhost/kaehost/text/output.h"

namespace devhost {

int PrintJsonFailure(const std::string& sentence, ExitStatus status) {
  return PrintJsonFailure(sentence, status, Json::object());
}

int PrintJsonFailure(const std::string& sentence, ExitStatus status, const Json& about) {
  Json json = {
      {"error", sentence}
  };
  json.update(about);
  json["status"] = int{status};
  Out() << JsonText(json) << '\n';
  return status;
}

}  // namespace devhost
