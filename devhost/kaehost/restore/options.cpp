// kaehost restore: the options and the help.

#include <algorithm>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "devhost/kaehost/command_line.h"
#include "devhost/kaehost/commands.h"
#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/json_failure.h"
#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/restore/journals.h"
#include "devhost/kaehost/restore/report.h"
#include "devhost/kaehost/text/json.h"
#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

constexpr const char* kFooter =
    R"(A session of 'kaehost apply' with --live or --netns keeps the original values of
the tunables in a journal, a file in /run/kaehost, until they are restored. If
all processes of the session are killed, the journal stays. Without --live and
--netns, this command lists the journals and the tunables that differ from them.
Run as root.

Examples:
  kaehost restore               list the journals
  kaehost restore --live        restore this machine's own tunables
  kaehost restore --netns blue  restore those of the namespace "blue"

Exit status:
  0   all tunables restored, or nothing to restore
  1   a tunable is not restored; without --live and --netns: a session ended
      without restoring, or a journal cannot be used
  2   the command line is bad
  77  cannot enter the namespace, or cannot use its journal)";

struct Options {
  std::string netns;
  bool live = false;
  bool json = false;
  bool quiet = false;
};

template <class Result>
int Report(const Options& options, const Result& result, ExitStatus status) {
  if (options.json) {
    Out() << JsonText(ToJson(result, status)) << '\n';
  } else {
    Tell(result, options.quiet);
  }
  return status;
}

int RunRestore(const Options& options) {
  if (!options.live && options.netns.empty()) {
    const std::vector<FoundJournal> journals = FindJournals();
    const bool is_well = std::all_of(
        journals.begin(), journals.end(),
        [](const FoundJournal& journal) { return journal.state == FoundJournal::kInUse; });
    return Report(options, journals, is_well ? kDone : kFailed);
  }
  if (!options.live) {
    EnterNetworkNamespace(options.netns);
  }
  const Restoration result = RestoreFromJournal();
  return Report(options, result, result.not_restored.empty() ? kDone : kFailed);
}

int RunOrRefuse(const Options& options) try {
  return RunRestore(options);
} catch (const std::exception& error) {
  if (!options.json) {
    throw;  // main prints it
  }
  return PrintJsonFailure(SentenceOf(error), StatusFor(error));
}

std::string AboutName(const std::string& name) {
  return name.empty() ? "the name is empty; name a network namespace" : "";
}

}  // namespace

void AddRestore(CLI::App& app, Chosen& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* restore =
      AddCommand(app, "restore", "Restore tunables after a session that was killed", kFooter,
                 [options, &chosen] { chosen.run = [options] { return RunOrRefuse(*options); }; });
  AddOption(restore, "--netns", &options->netns,
            "Restore in this network namespace (a name of ip netns, or a path)",
            {.type = "NAME", .check = AboutName});
  AddOption(restore, "--live", &options->live, "Restore this machine's own tunables",
            {.excludes = "--netns"});
  AddOption(restore, "--json", &options->json, "Print one JSON document instead");
  AddOption(restore, "--quiet", &options->quiet, "Print only what is wrong",
            {.excludes = "--json"});
}

}  // namespace devhost
