// kaehost import: files in the form of sysctl.conf to a document.

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "devhost/kaehost/command.h"
#include "devhost/kaehost/importing.h"
#include "devhost/kaehost/json.h"
#include "devhost/kaehost/numbers.h"
#include "devhost/kaehost/output.h"
#include "devhost/kaehost/quoted.h"
#include "devhost/kaehost/whole_file.h"

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

void Tell(const Imported& imported, bool quiet) {
  constexpr std::size_t kLongestKey = 100;
  for (const NotCarried& line : imported.not_carried) {
    std::cerr << line.file << ':' << line.line << ": " << Shown(line.key, kLongestKey) << ": "
              << line.sentence << '\n';
  }
  const auto imposed = imported.Imposed();
  if (quiet || imposed.empty()) {
    return;
  }
  std::cerr << "kaehost: not named, so the plug-in will write its defaults:";
  for (const CatalogueEntry* entry : imposed) {
    std::cerr << ' ' << entry->element << '=' << entry->default_value;
  }
  std::cerr << '\n';
}

Json ToJson(const Imported& imported, int status) {
  Json json;
  json["error"] = nullptr;
  json["document"] = imported.Document();
  json["elements"] = Json::object();
  for (const auto& [entry, value] : imported.values) {
    json["elements"][entry->element] = value;
  }
  json["not_carried"] = Json::array();
  for (const NotCarried& line : imported.not_carried) {
    json["not_carried"].push_back({
        {"file",     line.file    },
        {"line",     line.line    },
        {"key",      line.key     },
        {"sentence", line.sentence}
    });
  }
  json["defaults"] = Json::object();
  for (const CatalogueEntry* entry : imported.Imposed()) {
    json["defaults"][entry->element] = Number(entry->default_value).value_or(0);
  }
  json["status"] = status;
  return json;
}

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
