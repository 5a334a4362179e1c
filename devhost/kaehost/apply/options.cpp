// kaehost apply: the options.

#include <CLI/CLI.hpp>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "devhost/kaehost/apply/options.h"
#include "devhost/kaehost/apply/session.h"
#include "devhost/kaehost/commands.h"
#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/plugin/plugin.h"
#include "devhost/kaehost/text/json.h"
#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

constexpr const char* kFooter =
    R"(What follows -- is a command that is run under the settings, before they are put back.

Outcomes, found by reading the kernel back:
  applied     the kernel took the value
  unchanged   it had the value already
  adjusted    it took another value
  rejected    it kept its own value
  missing     this kernel has no such file
  restored    the request failed, and the value is the one from before
  overridden  the plug-in wrote it though the document does not name it

Examples:
  kaehost apply low-latency.xml                   try a document
  kaehost apply base.xml low-latency.xml          one after the other, in one session
  kaehost apply low-latency.xml -- ss -tino       try a program under it
  kaehost apply --hold low-latency.xml            look around until Ctrl-C, from elsewhere by
                                                  nsenter --target PROCESS --user --net --mount
  kaehost apply --whole-catalogue old-device.xml  with files that this kernel has no more
  kaehost apply --netns blue low-latency.xml      in the network namespace "blue"

Exit status:
  0   every request succeeded, the kernel has the values, all tunables are back
  1   an error reply, no reply, a tunable that is not back, or any other failure
  2   the command line or a document is bad; nothing was delivered
  3   the plug-in does not load or makes no layer; nothing was delivered
  4   every request succeeded, but a value was rejected or adjusted
  77  no namespace to be had, or none in which tunables can be written
  With a command that was run: its own, 126 or 127 if it cannot be run, unless a tunable is not
  back. After a signal that came before all was done: 128 and its number.)";

void AddTargetOptions(CLI::App* apply, TargetNamespace* target) {
  CLI::Option* netns = apply->add_option("--netns", target->netns,
                                         "Not in a private namespace but in this network "
                                         "namespace: a name of ip netns, or a path");
  netns->type_name("NAME")->check([](const std::string& name) -> std::string {
    return name.empty() ? "the name is empty; name a network namespace, or leave the option out "
                          "for a private one"
                        : "";
  });
  apply
      ->add_flag("--live", target->live,
                 "On this machine's own tunables; stays until Ctrl-C or SIGTERM, then restores")
      ->excludes(netns);
  CLI::Option* as_is = apply->add_flag(
      "--as-is", target->as_is,
      "Leave core/rmem_max and core/wmem_max as the kernel has them, read-only or missing");
  apply
      ->add_flag("--whole-catalogue", target->whole_catalogue,
                 "Emulate the files that this kernel does not have, so that all are there")
      ->excludes("--live")
      ->excludes(as_is);
}

int RunOrRefuse(const ApplyOptions& options) try {
  return RunSession(options);
} catch (const std::exception& error) {
  if (!options.json) {
    throw;  // main tells people
  }
  const ExitStatus status = StatusFor(error);
  const Json json = {
      {"error",  error.what()},
      {"status", int{status} }
  };
  Out() << JsonText(json) << '\n';
  return status;
}

}  // namespace

void AddApply(CLI::App& app, Chosen& chosen,
              const std::optional<std::vector<std::string>>& command) {
  const auto options = std::make_shared<ApplyOptions>();
  options->command = command.value_or(std::vector<std::string>());
  options->plugin = DefaultPlugin();
  CLI::App* apply = app.add_subcommand(
      "apply", "Deliver documents to the plug-in in a private namespace, then restore");
  apply->footer(kFooter);
  apply->add_option("DOCUMENT", options->documents, "XML file; each is one request, in order")
      ->required();
  AddTargetOptions(apply, &options->target);
  apply->add_flag("--hold", options->hold,
                  "Keep the settings until Ctrl-C or SIGTERM, then restore");
  apply
      ->add_option("--plugin", options->plugin,
                   "The plug-in to load, by default libkaetcp.so beside this program, or else the "
                   "installed one")
      ->type_name("FILE");
  CLI::Option* json = apply->add_flag("--json", options->json, "Print one JSON document instead");
  apply->add_flag("--quiet", options->quiet, "Print only what is wrong, and the counts")
      ->excludes(json);
  const bool lacks_a_word = command && command->empty();
  apply->callback([options, lacks_a_word, &chosen] {
    if (lacks_a_word) {
      throw CLI::ValidationError("--", "a command is missing after it");
    }
    if (options->hold && !options->command.empty()) {
      throw CLI::ValidationError("--hold", "a command ends the session; leave out one of the two");
    }
    chosen = [options] { return RunOrRefuse(*options); };
  });
}

}  // namespace devhost
