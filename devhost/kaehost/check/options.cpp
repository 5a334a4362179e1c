// kaehost check: what is to be mended in documents, without applying them.

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "devhost/kaehost/check/findings.h"
#include "devhost/kaehost/check/report.h"
#include "devhost/kaehost/check/schema_findings.h"
#include "devhost/kaehost/commands.h"
#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/text/json.h"
#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

constexpr const char* kFooter =
    R"(Findings come as FILE:LINE:COLUMN: what is wrong and what to do, for
  elements that the plug-in does not know or passes over, or that are there twice
  text between elements
  values that are no whole numbers, more than any kernel takes, or not written in decimal
  whatever else the schema of documents does not allow
Of what is no well-formed XML, or more than a document may be, standard error tells the line.

Examples:
  kaehost check low-latency.xml
  kaehost check --quiet *.xml && echo clean

Exit status:
  0   nothing is to be mended
  1   there are findings
  2   the command line is bad, or a document cannot be read or is no well-formed XML)";

struct Options {
  std::vector<std::string> documents;
  bool json = false;
  bool quiet = false;
};

// The schema is the last net: what is found without it is told in better words.
CheckResult Check(const std::string& path) try {
  const Document document = Document::Read(path);
  CheckResult result = {path, "", FindingsIn(document)};
  if (result.findings.empty()) {
    result.findings = FindingsOfSchema(document);
  }
  return result;
} catch (const DocumentError& error) {
  return {path, error.what(), {}};
}

int CheckAll(const Options& options) {
  int status = kDone;
  Json json;
  json["documents"] = Json::array();
  for (const std::string& path : options.documents) {
    const CheckResult result = Check(path);
    if (!result.error.empty()) {
      status = kBadInput;
    } else if (!result.findings.empty() && status == kDone) {
      status = kFailed;
    }
    if (options.json) {
      json["documents"].push_back(ToJson(result));
    } else {
      Tell(result, options.quiet);
    }
  }
  if (options.json) {
    json["status"] = status;
    Out() << JsonText(json) << '\n';
  }
  return status;
}

}  // namespace

void AddCheck(CLI::App& app, Chosen& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* check =
      app.add_subcommand("check", "Say what is to be mended in documents, without applying them");
  check->footer(kFooter);
  check->add_option("DOCUMENT", options->documents, "XML file")->required();
  CLI::Option* json = check->add_flag("--json", options->json, "Print one JSON document instead");
  check->add_flag("--quiet", options->quiet, "Print only findings")->excludes(json);
  check->callback([options, &chosen] { chosen = [options] { return CheckAll(*options); }; });
}

}  // namespace devhost
