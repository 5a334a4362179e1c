// kaehost import: sysctl.conf-style files to a document.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "devhost/kaehost/catalogue.h"
#include "devhost/kaehost/command.h"
#include "devhost/kaehost/json.h"
#include "devhost/kaehost/numbers.h"
#include "devhost/kaehost/output.h"
#include "devhost/kaehost/sysctl_conf.h"

namespace devhost {
namespace {

constexpr const char* kFooter =
    R"(What the catalogue cannot carry is listed on standard error, a line for each, as FILE:LINE: why.
So is a note of the elements that the files do not name and for which the plug-in's first request
writes a default of its own.

Examples:
  kaehost import /etc/sysctl.conf > settings.xml
  kaehost import --output settings.xml /etc/sysctl.d/*.conf
  sysctl net.ipv4.tcp_rmem | kaehost import -

Exit status:
  0   the document carries all of it
  1   it does not, or it cannot be written
  2   the command line is bad, or a file cannot be read; there is no document)";

struct Options {
  std::vector<std::string> files;
  std::string output;
  bool json = false;
  bool quiet = false;
};

struct Imported {
  std::map<const CatalogueEntry*, long long> values;  // in the catalogue's order
  std::vector<std::string> not_carried;               // sentences
};

// The entries of the file that a key is about, first value first.
std::vector<const CatalogueEntry*> EntriesOf(const std::string& key) {
  std::vector<const CatalogueEntry*> entries;
  for (const CatalogueEntry& entry : Catalogue()) {
    if (key == std::string("net/") + entry.file) {
      entries.push_back(&entry);
    }
  }
  return entries;
}

// Answers why a line cannot be carried, empty where it can.
std::string WhyNot(const SysctlLine& line, std::size_t places) {
  if (places == 0) {
    return "the catalogue has no such tunable; set it by other means";
  }
  if (!line.has_value) {
    return "there is no \"=\" and value; write KEY = VALUE";
  }
  if (line.values.empty()) {
    return "there is no value after \"=\"; write one or remove the line";
  }
  if (line.values.size() > places) {
    return "there are more values than the " + std::to_string(places) + " that the file has";
  }
  for (const std::string& value : line.values) {
    if (!Number(value)) {
      return '"' + value + "\" is no whole number; write one";
    }
  }
  return "";
}

Imported Import(const std::vector<std::string>& files) {
  Imported imported;
  for (const std::string& file : files) {
    for (const SysctlLine& line : ReadSysctlConf(file)) {
      const std::vector<const CatalogueEntry*> entries = EntriesOf(line.key);
      const std::string why = WhyNot(line, entries.size());
      if (!why.empty()) {
        imported.not_carried.push_back(line.file + ':' + std::to_string(line.line) + ": " +
                                       line.key + ": " + why);
        continue;
      }
      for (std::size_t i = 0; i < line.values.size(); ++i) {
        imported.values[entries[i]] = *Number(line.values[i]);
      }
    }
  }
  return imported;
}

std::string DocumentOf(const Imported& imported) {
  std::string text = "<tcp-settings>\n";
  for (const auto& [entry, value] : imported.values) {
    const std::string name = entry->element;
    text.append("  <").append(name).append(">").append(std::to_string(value));
    text.append("</").append(name).append(">\n");
  }
  return text + "</tcp-settings>\n";
}

// The elements whose defaults the plug-in imposes.
std::vector<const CatalogueEntry*> Imposed(const Imported& imported) {
  std::vector<const CatalogueEntry*> imposed;
  for (const CatalogueEntry& entry : Catalogue()) {
    if (entry.imposed && !imported.values.contains(&entry)) {
      imposed.push_back(&entry);
    }
  }
  return imposed;
}

void TellImposed(const std::vector<const CatalogueEntry*>& imposed) {
  if (imposed.empty()) {
    return;
  }
  std::cerr << "kaehost: not named, so the plug-in will write its defaults:";
  for (const CatalogueEntry* entry : imposed) {
    std::cerr << ' ' << entry->element << '=' << entry->default_value;
  }
  std::cerr << '\n';
}

std::string ToJson(const Imported& imported, int status) {
  Json json;
  json["document"] = DocumentOf(imported);
  json["elements"] = Json::object();
  for (const auto& [entry, value] : imported.values) {
    json["elements"][entry->element] = value;
  }
  json["not_carried"] = imported.not_carried;
  json["defaults"] = Json::object();
  for (const CatalogueEntry* entry : Imposed(imported)) {
    json["defaults"][entry->element] = *Number(entry->default_value);
  }
  json["status"] = status;
  return JsonText(json) + '\n';
}

// Leaves a file that is there as it is unless the whole document can be written.
void WriteFile(const std::string& path, const std::string& text) {
  const std::string whole = path + ".new";
  if (!(std::ofstream(whole) << text).flush() || std::rename(whole.c_str(), path.c_str()) != 0) {
    const std::string why = std::strerror(errno);
    std::remove(whole.c_str());
    throw std::runtime_error(path + ": cannot be written: " + why);
  }
}

int ImportAll(const Options& options) {
  std::optional<Imported> imported;
  try {
    imported = Import(options.files);
  } catch (const std::runtime_error& error) {
    std::cerr << "kaehost: " << error.what() << "; there is no document\n";
    return kBadInput;
  }
  const int status = imported->not_carried.empty() ? kDone : kFailed;
  if (!options.output.empty()) {
    WriteFile(options.output, DocumentOf(*imported));
  } else if (!options.json) {
    Out() << DocumentOf(*imported);
  }
  if (options.json) {
    Out() << ToJson(*imported, status);
    return status;
  }
  for (const std::string& sentence : imported->not_carried) {
    std::cerr << sentence << '\n';
  }
  if (!options.quiet) {
    TellImposed(Imposed(*imported));
  }
  return status;
}

}  // namespace

void AddImport(CLI::App& app, Chosen& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* import =
      app.add_subcommand("import", "Make a document of files in the form of sysctl.conf");
  import->footer(kFooter);
  import->add_option("FILE", options->files, "The files, later lines win; - for standard input")
      ->required();
  import->add_option("--output", options->output, "Write the document here")->type_name("FILE");
  CLI::Option* json = import->add_flag("--json", options->json, "Print one JSON document instead");
  import->add_flag("--quiet", options->quiet, "Tell only what is not carried")->excludes(json);
  import->callback([options, &chosen] { chosen = [options] { return ImportAll(*options);
};
}  // namespace devhost
);
}

}  // namespace devhost
