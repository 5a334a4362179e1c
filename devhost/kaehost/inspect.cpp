// kaehost inspect: what a plug-in is, needs and offers.

#include <CLI/CLI.hpp>
#include <cstring>
#include <exception>
#include <iomanip>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "devhost/kaehost/command.h"
#include "devhost/kaehost/inspecting.h"
#include "devhost/kaehost/json.h"
#include "devhost/kaehost/output.h"
#include "devhost/kaehost/plugin.h"
#include "devhost/kaehost/progress.h"
#include "devhost/kaehost/sandbox.h"

namespace devhost {
namespace {

constexpr const char* kFooter =
    R"(The plug-in is loaded and makes a layer in a private namespace, where it can do no harm. The
times are from the start of loading until the plug-in is ready, and until it has made a layer.

Examples:
  kaehost inspect                        the plug-in that kaehost uses by default
  kaehost inspect --json ./libkaetcp.so

Exit status:
  0   the plug-in loads and makes a layer that can be used
  1   it ended the process
  2   the command line is bad
  3   it does not load, makes no such layer, or changes tunables without a request
  77  no private namespace is to be had)";

struct Options {
  std::string plugin = DefaultPlugin();
  bool json = false;
  bool quiet = false;
};

constexpr int kTitleWidth = 12;

// The names, in further lines below where they do not fit in one.
std::string Listed(const std::vector<std::string>& names) {
  constexpr std::size_t kWidth = 88;
  std::string text = names.empty() ? "none" : "";
  std::size_t line_begin = 0;
  for (const std::string& name : names) {
    if (!text.empty() && text.size() - line_begin + name.size() + std::strlen(", ,") > kWidth) {
      text += ",\n" + std::string(kTitleWidth, ' ');
      line_begin = text.size();
    } else if (!text.empty()) {
      text += ", ";
    }
    text += name;
  }
  return text;
}

void Tell(const std::string& path, const Inspected& inspected) {
  const auto tell = [](const char* title, const std::string& text) {
    Out() << std::left << std::setw(kTitleWidth) << title << text << '\n';
  };
  tell("plug-in", path);
  tell("name", inspected.name);
  tell("version", inspected.version);
  tell("exports", Listed(inspected.library.exports));
  tell("needs", Listed(inspected.library.needs));
  tell("run path", inspected.library.run_path.empty() ? "none" : inspected.library.run_path);
  tell("callbacks", Listed(inspected.callbacks));
  tell("ready in", std::to_string(inspected.load_us) + " us");
  tell("layer in", std::to_string(inspected.layer_us) + " us");
  tell("vocabulary", Listed(inspected.vocabulary));
}

Json ToJson(const std::string& path, const Inspected& inspected) {
  Json json;
  json["error"] = nullptr;
  json["plugin"] = path;
  json["name"] = inspected.name;
  json["version"] = inspected.version;
  json["exports"] = inspected.library.exports;
  json["needs"] = inspected.library.needs;
  json["run_path"] = inspected.library.run_path;
  json["callbacks"] = inspected.callbacks;
  json["load_us"] = inspected.load_us;
  json["layer_us"] = inspected.layer_us;
  json["vocabulary"] = inspected.vocabulary;
  json["status"] = int{kDone};
  return json;
}

int Fail(const Options& options, ExitStatus status, const std::string& sentence) {
  if (options.json) {
    const Json json = {
        {"error",  sentence      },
        {"plugin", options.plugin},
        {"status", int{status}   }
    };
    Out() << JsonText(json) << '\n';
  } else {
    std::cerr << "kaehost: " << sentence << '\n';
  }
  return status;
}

int Inspect(const Options& options) try {
  EnterPrivateNamespace();
  Progress progress(Progress::kDropped);
  const Inspected inspected = progress.Of([&] { return LookInto(options.plugin); });
  if (options.json) {
    Out() << JsonText(ToJson(options.plugin, inspected)) << '\n';
  } else if (!options.quiet) {
    Tell(options.plugin, inspected);
  }
  return kDone;
} catch (const std::exception& error) {
  return Fail(options, StatusFor(error), error.what());
}

}  // namespace

void AddInspect(CLI::App& app, Chosen& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* inspect = app.add_subcommand("inspect", "Show what a plug-in is, needs and offers");
  inspect->footer(kFooter);
  inspect->add_option(
      "PLUGIN", options->plugin,
      "The plug-in, by default libkaetcp.so beside this program, or else the installed "
      "one");
  CLI::Option* json = inspect->add_flag("--json", options->json, "Print one JSON document instead");
  inspect->add_flag("--quiet", options->quiet, "Print only what is wrong")->excludes(json);
  inspect->callback([options, &chosen] { chosen = [options] { return Inspect(*options); }; });
}

}  // namespace devhost
