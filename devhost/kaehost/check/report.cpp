#include "devhost/kaehost/check/report.h"

#include <nlohmann/json.hpp>
#include <string>

#include "devhost/kaehost/text/characters.h"
#include "devhost/kaehost/text/colour.h"
#include "devhost/kaehost/text/output.h"
#include "devhost/libe/document.h"

namespace devhost {

void Tell(const CheckResult& result, bool quiet) {
  if (!result.error.empty()) {
    TellError(result.error);
    return;
  }
  const std::string name = Visible(InputName(result.document));
  for (const Finding& finding : result.findings) {
    Out() << name << ':' << finding.position.line << ':' << finding.position.column << ": "
          << Painted(Visible(finding.sentence), Colour::kYellow) << '\n';
  }
  if (!quiet) {
    const std::size_t count = result.findings.size();
    Out() << "kaehost: " << name << ": "
          << (count == 0               ? "no findings"
              : count == 1             ? "1 finding"
              : count <= kMostFindings ? std::to_string(count) + " findings"
                                       : "more than " + std::to_string(kMostFindings) + " findings")
          << '\n';
  }
}

Json ToJson(const CheckResult& result) {
  Json json = Json::object();
  json["document"] = result.document;
  json["error"] = result.error.empty() ? Json() : Json(result.error);
  json["findings"] = Json::array();
  for (const Finding& finding : result.findings) {
    Json& told = json["findings"].emplace_back(Json::object());
    told["line"] = finding.position.line;
    told["column"] = finding.position.column;
    told["sentence"] = finding.sentence;
  }
  return json;
}

}  // namespace devhost
