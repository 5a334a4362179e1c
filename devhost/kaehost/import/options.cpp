// kaehost import: files in the form of sysctl.conf to a document.

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "devhost/kaehost/commands.h"
#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/import/output_file.h"
#include "devhost/kaehost/import/report.h"
#include "devhost/kaehost/import/sysctl_to_document.h"
#include "devhost/kaehost/text/json.h"
#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

constexpr const char* kFooter =
    R"(What the catalogue cannot carry is listed on standard error, a line for each, as
FILE:LINE: KEY: why and what to do. So is a note of the elements that the files do not name and
for which the plug-in's first request writes a default of its own.

Examples:
  kaehost import /etc/sysctl.conf > settings.xml
  kaehost import --output settings.xml /etc/sysctl.d/*.conf
  sysctl net.ipv4.tcp_rmem | kaehost import -

Exit status:
  0   the document carries all of it
  1   there is something that it does not carry
  2   the command line is bad, or a file cannot be read or written; there is no document)";

struct Options {
  std::vector<std::string> files;
  std::optional<std::string> output;
  bool json = false;
  bool quiet = false;
};

int Fail(const Options& options, const std::string& sentence) {
  if (options.json) {
    const Json json = {
        {"error",  sentence      },
        {"status", int{kBadInput}}
    };
    Out() << JsonText(json) << '\n';
  } else {
    std::cerr << "kaehost: " << sentence << "; there is no document\n";
  }
  return kBadInput;
}

int ImportAll(const Options& options) try {
  const Imported imported = Import(options.files);
  const int status = imported.not_carried.empty() ? kDone : kFailed;
  if (options.output) {
    WriteWhole(*options.output, imported.Document());
  }
  if (options.json) {
    Out() << JsonText(ToJson(imported, status)) << std::endl;
  } else {
    if (!options.output) {
      Out() << imported.Document() << std::flush;
    }
    Tell(imported, options.quiet);
  }
  const bool is_there = options.output || Out();
  return is_there ? status : kBadInput;  // of which main tells
} catch (const std::runtime_error& error) {
  return Fail(options, error.what());
}

}  // namespace

void AddImport(CLI::App& app, Chosen& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("import", "Make a document of files in the form of sysctl.conf");
  command->footer(kFooter);
  command->add_option("FILE", options->files, "The files, later lines win; - for standard input")
      ->required();
  command->add_option("--output", options->output, "Write the document here, whole or not at all")
      ->type_name("FILE");
  CLI::Option* json = command->add_flag("--json", options->json, "Print one JSON document instead");
  command->add_flag("--quiet", options->quiet, "Tell only what is not carried")->excludes(json);
  command->callback([options, &chosen] { chosen = [options] { return ImportAll(*options); }; });
}

}  // namespace devhost
