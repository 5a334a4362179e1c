#include "devhost/kaehost/json_failure.h"

#include <nlohmann/json.hpp>
#include <ostream>

#include "devhost/kaehost/text/json.h"
#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

int Print(Json json, ExitStatus status) {
  json["status"] = int{status};
  Out() << JsonText(json) << '\n';
  return status;
}

}  // namespace

int PrintJsonFailure(const std::string& sentence, ExitStatus status) {
  return Print(
      {
          {"error", sentence}
  },
      status);
}

int TellPluginFailure(const std::string& plugin, bool json, const std::string& sentence,
                      ExitStatus status) {
  if (json) {
    return Print(
        {
            {"error",  sentence},
            {"plugin", plugin  }
    },
        status);
  }
  TellError(sentence);
  return status;
}

}  // namespace devhost
