// kaehost import: makes a document from files in the form of sysctl.conf.

#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/command_line.h"
#include "devhost/kaehost/commands.h"
#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/import/report.h"
#include "devhost/kaehost/import/sysctl_to_document.h"
#include "devhost/kaehost/json_failure.h"
#include "devhost/kaehost/kernel/output_file.h"
#include "devhost/kaehost/text/json.h"
#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

constexpr const char* kFooter =
    R"(If several lines set the same tunable, the last one wins.

Standard error lists each line that cannot be imported as
FILE:LINE: KEY: what is wrong; what to do
It also lists comments after a value, which are left out, and the defaults that
the plug-in's first request will write for elements that the files do not set.
After 1,000 lines it only shows how many more there are. With --quiet nothing of
this is printed; the exit status stays the same.

Examples:
  kaehost import /etc/sysctl.conf > settings.xml
  kaehost import --output settings.xml /etc/sysctl.d/*.conf
  sysctl -a | kaehost import --quiet - > now.xml  # exit status 1

Exit status:
  0   all lines are imported
  1   the document is there, but some lines are not imported
  2   the command line is bad, or a file cannot be read or written;
      there is no document)";

struct Options {
  std::vector<std::string> files;
  std::optional<std::string> output;
  bool json = false;
  bool quiet = false;
};

int Fail(const Options& options, const std::string& sentence) {
  if (options.json) {
    return PrintJsonFailure(sentence, kBadInput);
  }
  TellError(sentence + "; there is no document");
  return kBadInput;
}

int ImportAll(const Options& options) try {
  const Imported imported = Import(options.files);
  const int status = imported.is_complete ? kDone : kFailed;
  if (options.output) {
    WriteWhole(*options.output, imported.Document());
  }
  if (options.json) {
    Out() << JsonText(ToJson(imported, status)) << std::endl;
  } else {
    if (!options.output) {
      Out() << imported.Document() << std::flush;
    }
    if (!options.quiet) {
      Tell(imported);
    }
  }
  const bool is_there = options.output || Out();
  return is_there ? status : kBadInput;  // main prints why
} catch (const std::exception& error) {
  return Fail(options, SentenceOf(error));
}

}  // namespace

void AddImport(CLI::App& app, Chosen& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* command =
      AddCommand(app, "import", "Make a document from files in the form of sysctl.conf", kFooter,
                 [options, &chosen] {
                   RefuseSecondStandardInput(options->files);
                   if (options->output == "-") {
                     options->output.reset();
                   }
                   chosen = {[options] { return ImportAll(*options); }, kBadInput};
                 });
  AddOption(command, "FILE", &options->files, "Files to import; - is standard input",
            {.is_required = true});
  AddOption(command, "--output", &options->output,
            "Write the document here, whole or not at all; - is standard output",
            {.type = "FILE", .is_single = true, .check = AboutFile});
  AddOption(command, "--json", &options->json, "Print one JSON document instead");
  AddOption(command, "--quiet", &options->quiet, "Print only the document, and errors",
            {.excludes = "--json"});
}

}  // namespace devhost
