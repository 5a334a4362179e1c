// kaehost apply: the options.

#include <CLI/Error.hpp>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "devhost/kaehost/apply/netns_file.h"
#include "devhost/kaehost/apply/options.h"
#include "devhost/kaehost/apply/session.h"
#include "devhost/kaehost/command_line.h"
#include "devhost/kaehost/commands.h"
#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/json_failure.h"
#include "devhost/kaehost/plugin/plugin.h"

namespace devhost {
namespace {

constexpr const char* kFooter =
    R"(A COMMAND after -- runs under the settings, before they are restored.

Outcomes, found by reading the kernel back:
  applied       the kernel accepted the value
  unchanged     the kernel had the value already; shown with --verbose
  adjusted      the kernel accepted another value
  rejected      the kernel kept its own value
  missing       this kernel has no such file
  machine-only  the machine has the file, but this namespace has not; try --live
  restored      the request failed; the value is the one from before the layer
  overridden    the plug-in wrote the value; the document does not name it
  unread        the file could not be read before or after the request

Lines of the plug-in are counted. They are shown if they report an error, if
the request fails, or with --verbose.

Examples:
  kaehost apply low-latency.xml                   try a document
  kaehost apply base.xml low-latency.xml          two requests, one session
  kaehost apply low-latency.xml -- ss -tino       run a command under it
  kaehost apply --hold low-latency.xml            keep it until Ctrl-C; join:
      nsenter --target PROCESS --user --net --mount --preserve-credentials
  kaehost apply --whole-catalogue old-device.xml  emulate missing files
  kaehost apply --netns blue low-latency.xml      in the namespace "blue"
  ip netns list | cut -d' ' -f1 | kaehost apply --netns-file - --hold base.xml
                                                  in all, until Ctrl-C
  kaehost apply --fail ipv4/tcp_sack=EACCES:2 base.xml  a request that fails

Exit status:
  0   all requests succeeded, the kernel has the requested values of which there
      is a file, and all tunables are restored
  1   an error reply, no reply, a plug-in that crashes or leaves a tunable
      changed, a tunable not read at the end, or another failure
  2   the command line or a document is bad; nothing was delivered
  3   the plug-in does not load or makes no layer; nothing was delivered
  4   all requests succeeded, but a requested value was rejected, adjusted or
      not read; with --strict also if one is missing, machine-only or emulated
  77  cannot create or enter the namespace, or cannot write its tunables or the
      journal; or another session uses them
  If a COMMAND was run: its exit status, or 126 or 127 if it cannot be run; 1
  if a tunable is not restored or not read. Status 4 replaces its 0. If a
  signal interrupted the session: 128 plus the number of the signal.)";

std::string AboutName(const std::string& name) {
  if (name.empty()) {
    return "the name is empty; name a network namespace, or leave the option out for a private one";
  }
  // A journal has the name in one line.
  return name.find('\n') != std::string::npos
             ? "the name has a newline; name the network namespace by another path"
             : "";
}

void AddTargetOptions(CLI::App* apply, TargetNamespace* target) {
  AddOption(apply, "--netns", &target->netns,
            "Apply in this network namespace (a name of ip netns, or a path) instead of a private "
            "one; can be repeated",
            {.type = "NAME", .check = AboutName});
  AddOption(apply, "--netns-file", &target->netns_files,
            "Apply in the network namespaces that this file names, one a line; - is standard input",
            {.type = "FILE", .check = AboutFile});
  AddOption(apply, "--live", &target->live,
            "Apply to this machine's own tunables until Ctrl-C or SIGTERM, then restore them",
            {.excludes = "--netns --netns-file"});
  AddOption(apply, "--initial-values", &target->initial_values,
            "Start a private namespace from the kernel's initial values, not from the machine's",
            {.excludes = "--netns --netns-file --live"});
  AddOption(apply, "--as-is", &target->as_is,
            "Leave core/rmem_max and core/wmem_max as the kernel has them, read-only or missing");
  AddOption(apply, "--whole-catalogue", &target->whole_catalogue,
            "Emulate the files that this kernel does not have", {.excludes = "--live --as-is"});
}

void AddFailOption(CLI::App* apply, ApplyOptions* options) {
  const auto read = [options](const std::vector<std::string>& words) {
    for (const std::string& word : words) {
      options->failures.push_back(ReadFailure(word));
    }
  };
  AddOption(
      apply, "--fail", read,
      "In a private namespace, let the Nth time that the plug-in opens a tunable fail, or each "
      "time; ERROR is EACCES, EIO, EISDIR, ELOOP, EMFILE, ENOENT, ENOTDIR, ENXIO or EROFS",
      {.type = "FILE=ERROR[:N]", .excludes = "--live --netns --netns-file"});
}

// What a session in several namespaces cannot have.
void RefuseWithSeveral(const ApplyOptions& options) {
  if (options.target.netns.size() > 1 && !options.command.empty()) {
    throw CLI::ValidationError(
        "a command after '--' needs one network namespace; use --hold to keep the settings in "
        "several");
  }
  if (options.target.netns.size() > 1 && options.trace) {
    throw CLI::ValidationError("--trace: needs one network namespace; name one only");
  }
}

// Returns the operands and options that can be "-", standard input.
std::vector<std::string> InputsOf(const ApplyOptions& options) {
  std::vector<std::string> inputs = options.documents;
  const std::vector<std::string>& files = options.target.netns_files;
  inputs.insert(inputs.end(), files.begin(), files.end());
  return inputs;
}

int RunOrRefuse(const ApplyOptions& options) try {
  return RunSession(options);
} catch (const std::exception& error) {
  if (!options.json) {
    throw;  // main prints it
  }
  return PrintJsonFailure(SentenceOf(error), StatusFor(error));
}

// Lets `chosen` run the session, if the options agree.
void Choose(const std::shared_ptr<ApplyOptions>& options, Chosen& chosen) {
  RefuseSecondStandardInput(InputsOf(*options));
  if (chosen.program && chosen.program->empty()) {
    throw CLI::ValidationError("missing command after '--'");
  }
  if (options->hold && !options->command.empty()) {
    throw CLI::ValidationError(
        "option '--hold' and a command after '--' are mutually exclusive: a command ends the "
        "session");
  }
  for (const std::string& file : options->target.netns_files) {
    const std::vector<std::string> names = ReadNetnsFile(file);
    options->target.netns.insert(options->target.netns.end(), names.begin(), names.end());
  }
  RefuseWithSeveral(*options);
  chosen.run = [options] { return RunOrRefuse(*options); };
}

}  // namespace

void AddApply(CLI::App& app, Chosen& chosen) {
  const auto options = std::make_shared<ApplyOptions>();
  options->command = chosen.program.value_or(std::vector<std::string>());
  options->plugin = DefaultPlugin();
  CLI::App* apply =
      AddCommand(app, "apply", "Try documents in a private namespace, then restore all tunables",
                 kFooter, [options, &chosen] { Choose(options, chosen); });
  AddOption(apply, "DOCUMENT", &options->documents,
            "XML files; each is one request, in order; - is standard input",
            {.is_required = true, .own_usage = "DOCUMENT... [-- COMMAND ARG...]"});
  AddTargetOptions(apply, &options->target);
  AddFailOption(apply, options.get());
  AddOption(apply, "--hold", &options->hold,
            "Keep the settings until Ctrl-C or SIGTERM, then restore");
  AddOption(apply, "--no-journal", &options->no_journal,
            "With --live or --netns, keep no journal of the original values in /run/kaehost");
  AddOption(apply, "--plugin", &options->plugin,
            "Load this plug-in; default: libkaetcp.so in the folder of this program, or else the "
            "installed one",
            {.type = "FILE", .check = AboutFile});
  AddOption(apply, "--strict", &options->strict,
            "Exit with status 4 also if a requested value is missing, machine-only or emulated");
  AddOption(apply, "--kill-after", &options->kill_after,
            "After a signal, kill a plug-in that does not return within this time, and restore the "
            "tunables; default: 5",
            {.type = "SECONDS", .most = 3600});
  AddOption(apply, "--json", &options->json, "Print one JSON document instead");
  AddOption(apply, "--quiet", &options->quiet, "Print only what is wrong, and the counts",
            {.excludes = "--json"});
  AddOption(apply, "--verbose", &options->verbose, "Show all lines that the plug-in prints",
            {.excludes = "--json --quiet"});
  AddOption(
      apply, "--trace", &options->trace,
      "Print on standard error each call between the host and the plug-in, and each file that "
      "the plug-in opens; with --json as JSON lines");
}

}  // namespace devhost
