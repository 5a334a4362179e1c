// kaehost check: checks documents without applying them.

#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "devhost/kaehost/check/findings.h"
#include "devhost/kaehost/check/report.h"
#include "devhost/kaehost/check/schema_findings.h"
#include "devhost/kaehost/command_line.h"
#include "devhost/kaehost/commands.h"
#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/text/json.h"
#include "devhost/kaehost/text/output.h"
#include "devhost/libe/document.h"

namespace devhost {
namespace {

constexpr const char* kFooter =
    R"(Standard output lists each finding as
FILE:LINE:COLUMN: element: what is wrong; what to do
Findings are
  elements that the plug-in does not know, or ignores, or that are there twice
  attributes, and text between elements
  values that are not integers, are out of range, or not in plain decimal form
  anything else that the schema of documents does not allow
After 1,000 findings the rest of a document is not checked. If a document cannot
be read, is not well-formed XML or exceeds a limit, standard error shows why and
where.

Examples:
  kaehost check low-latency.xml
  kaehost check --quiet *.xml && echo clean

Exit status:
  0   no findings
  1   there are findings
  2   the command line is bad, or a document cannot be read, is not well-formed
      XML or exceeds a limit)";

struct Options {
  std::vector<std::string> documents;
  bool json = false;
  bool quiet = false;
};

// The schema comes last: other findings have better sentences.
CheckResult Check(const std::string& path) try {
  const Document document = Document::Read(path);
  CheckResult result = {path, "", FindingsIn(document)};
  if (result.findings.empty()) {
    result.findings = FindingsOfSchema(document);
  }
  return result;
} catch (const DocumentError& error) {
  return {path, error.what(), {}};
} catch (const std::exception& error) {
  return {path, InputName(path) + ": " + SentenceOf(error), {}};
}

int CheckAll(const Options& options) {
  int status = kDone;
  Json json = Json::object();
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
  CLI::App* check = AddCommand(app, "check", "Check documents without applying them", kFooter,
                               [options, &chosen] {
                                 RefuseSecondStandardInput(options->documents);
                                 chosen = {[options] { return CheckAll(*options); }, kBadInput};
                               });
  AddOption(check, "DOCUMENT", &options->documents, "XML files; - is standard input",
            {.is_required = true});
  AddOption(check, "--json", &options->json, "Print one JSON document instead");
  AddOption(check, "--quiet", &options->quiet, "Print only findings", {.excludes = "--json"});
}

}  // namespace devhost
