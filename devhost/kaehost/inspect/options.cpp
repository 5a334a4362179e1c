// kaehost inspect: the options and the help.

#include <chrono>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "devhost/kaehost/command_line.h"
#include "devhost/kaehost/commands.h"
#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/inspect/facts.h"
#include "devhost/kaehost/inspect/report.h"
#include "devhost/kaehost/json_failure.h"
#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/plugin/plugin.h"
#include "devhost/kaehost/process/interruption.h"
#include "devhost/kaehost/text/json.h"
#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

constexpr const char* kFooter =
    R"(The plug-in is loaded and makes a layer in a private namespace, where it cannot
change the machine's own tunables. The times are from the start of loading until
the plug-in is ready, and until it has made a layer.

Examples:
  kaehost inspect                        the default plug-in of kaehost apply
  kaehost inspect --json ./libkaetcp.so

Exit status:
  0   the plug-in loads and makes a layer that can be used
  1   a tunable cannot be read, or another failure
  2   the command line is bad
  3   the plug-in does not load, makes no such layer, or changes tunables
      without a request
  77  cannot create a private namespace)";

struct Options {
  std::string plugin = DefaultPlugin();
  bool json = false;
  bool quiet = false;
};

int Inspect(const Options& options) try {
  EnterPrivateNamespace();
  constexpr std::chrono::seconds kPatience(5);
  Interruption interruption(kPatience);
  const Json facts = FactsOf(options.plugin, interruption);
  if (options.json) {
    Out() << JsonText(facts) << '\n';
  } else if (!options.quiet) {
    Tell(facts);
  }
  return kDone;
} catch (const std::exception& error) {
  return TellPluginFailure(options.plugin, options.json, SentenceOf(error), StatusFor(error));
}

}  // namespace

void AddInspect(CLI::App& app, Chosen& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* inspect =
      AddCommand(app, "inspect", "Show what a plug-in is, needs and offers", kFooter,
                 [options, &chosen] { chosen.run = [options] { return Inspect(*options); }; });
  AddOption(
      inspect, "PLUGIN", &options->plugin,
      "Inspect this plug-in; default: libkaetcp.so in the folder of this program, or else the "
      "installed one");
  AddOption(inspect, "--json", &options->json, "Print one JSON document instead");
  AddOption(inspect, "--quiet", &options->quiet, "Print only what is wrong",
            {.excludes = "--json"});
}

}  // namespace devhost
