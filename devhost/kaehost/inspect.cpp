// kaehost inspect: what a plug-in is, needs and offers.

#include <chrono>
#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/command.h"
#include "devhost/kaehost/elf.h"
#include "devhost/kaehost/json.h"
#include "devhost/kaehost/output.h"
#include "devhost/kaehost/plugin.h"
#include "devhost/kaehost/progress.h"
#include "devhost/kaehost/sandbox.h"
#include "devhost/libe/vocabulary.h"

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
  2   the command line is bad
  3   it does not
  77  no private namespace is to be had)";

struct Options {
  std::string plugin = DefaultPlugin();
  bool json = false;
  bool quiet = false;
};

using Names = std::vector<std::string>;

struct Inspected {
  std::string name;
  std::string version;
  SharedLibrary library;
  Names callbacks;
  Names vocabulary;
  long load_us;
  long layer_us;
};

Names CallbacksOf(const Layer& layer) {
  Names names;
  const auto add = [&names](bool offered, const char* name) {
    if (offered) {
      names.emplace_back(name);
    }
  };
  add(layer.configure != nullptr, "ConfigureCB");
  add(layer.start != nullptr, "StartCB");
  add(layer.stop != nullptr, "StopCB");
  add(layer.release != nullptr, "ReleaseCB");
  return names;
}

long Microseconds(std::chrono::steady_clock::duration time) {
  return static_cast<long>(std::chrono::duration_cast<std::chrono::microseconds>(time).count());
}

Inspected LoadAndLook(const std::string& path) {
  using Clock = std::chrono::steady_clock;
  Inspected inspected = {};
  const auto start = Clock::now();
  const Plugin plugin(path);
  const auto ready = Clock::now();
  inspected.name = plugin.name();
  inspected.version = plugin.version();
  inspected.library = ReadSharedLibrary(path);
  const auto before_layer = Clock::now();
  const Layer layer = plugin.NewLayer();
  const auto layered = Clock::now();
  inspected.load_us = Microseconds(ready - start);
  inspected.layer_us = Microseconds(ready - start + (layered - before_layer));
  inspected.callbacks = CallbacksOf(layer);
  inspected.vocabulary = Vocabulary();
  layer.release->do_Release();
  return inspected;
}

std::string Joined(const Names& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text.empty() ? "none" : text;
}

void Tell(const std::string& path, const Inspected& inspected) {
  const auto tell = [](const char* title, const std::string& text) {
    constexpr int kWidth = 12;
    Out() << std::left << std::setw(kWidth) << title << text << '\n';
  };
  tell("plug-in", path);
  tell("name", inspected.name);
  tell("version", inspected.version);
  tell("exports", Joined(inspected.library.exports));
  tell("needs", Joined(inspected.library.needs));
  tell("run path", inspected.library.run_path.empty() ? "none" : inspected.library.run_path);
  tell("callbacks", Joined(inspected.callbacks));
  tell("ready in", std::to_string(inspected.load_us) + " us");
  tell("layer in", std::to_string(inspected.layer_us) + " us");
  tell("vocabulary", Joined(inspected.vocabulary));
}

Json ToJson(const std::string& path, const Inspected& inspected) {
  Json json;
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
  return json;
}

int Inspect(const Options& options) try {
  EnterPrivateNamespace();
  Progress progress(false);
  const Inspected inspected = progress.Of([&] { return LoadAndLook(options.plugin); });
  if (options.json) {
    Out() << JsonText(ToJson(options.plugin, inspected)) << '\n';
  } else if (!options.quiet) {
    Tell(options.plugin, inspected);
  }
  return kDone;
} catch (const PluginError& error) {
  std::cerr << "kaehost: " << error.what() << '\n';
  return kNoPlugin;
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
