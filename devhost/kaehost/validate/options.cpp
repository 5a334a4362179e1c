// kaehost validate: the options and the help.

#include <algorithm>
#include <charconv>
#include <chrono>
#include <exception>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <random>
#include <regex>
#include <string>
#include <system_error>
#include <vector>

#include "devhost/kaehost/command_line.h"
#include "devhost/kaehost/commands.h"
#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/json_failure.h"
#include "devhost/kaehost/kernel/output_file.h"
#include "devhost/kaehost/plugin/plugin.h"
#include "devhost/kaehost/process/interruption.h"
#include "devhost/kaehost/text/characters.h"
#include "devhost/kaehost/text/output.h"
#include "devhost/kaehost/validate/report.h"
#include "devhost/kaehost/validate/runner.h"

namespace devhost {
namespace {

constexpr const char* kFooter =
    R"(Each test runs in a process and a private namespace of its own, where it cannot
change the machine's own tunables. A test is passed, failed, skipped, crashed or
timed out. Tests of what "tcp-settings" documents do are skipped for a plug-in
of another kind.

Examples:
  kaehost validate                         the default plug-in of kaehost apply
  kaehost validate --junit report.xml ./libkaetcp.so
  kaehost validate --include fails-at --only-failed

Exit status:
  0   all tests passed, except those that were skipped
  1   a test failed, crashed or timed out, a signal interrupted the run, or the
      report cannot be written
  2   the command line is bad, or no test has such a name
  3   the plug-in does not load or makes no layer
  77  cannot create a private namespace, or cannot write its tunables)";

struct Options {
  std::string plugin = DefaultPlugin();
  std::string include;
  std::string exclude;
  std::string junit;
  int timeout = 30;
  std::optional<unsigned> seed;
  bool list = false;
  bool only_failed = false;
  bool json = false;
};

std::vector<const Test*> Selected(const Options& options) {
  std::vector<const Test*> selected = AllTests();
  std::erase_if(selected, [&](const Test* test) {
    return !std::regex_search(test->name, std::regex(options.include)) ||
           (!options.exclude.empty() && std::regex_search(test->name, std::regex(options.exclude)));
  });
  return selected;
}

ExitStatus StatusOf(const Validation& validation) {
  if (!validation.is_loaded) {
    return kNoPlugin;
  }
  bool is_well = !validation.interrupted_by;
  for (const TestResult& result : validation.results) {
    is_well = is_well && !IsBad(result.result);
  }
  return is_well ? kDone : kFailed;
}

// Returns why the file cannot be written, empty if it is.
std::string WriteJUnit(const std::string& path, const Plan& plan, const Validation& validation) {
  try {
    WriteWhole(path, JUnitReport(plan, validation));
    return "";
  } catch (const std::exception& error) {
    return SentenceOf(error);
  }
}

int Run(const Options& options, const Plan& plan) {
  constexpr std::chrono::seconds kPatience(1);
  Interruption interruption(kPatience);  // before the first line, after which signals are expected
  if (!options.json) {
    Out() << "kaehost: " << Visible(plan.plugin) << " on " << ThisKernel() << ", seed " << plan.seed
          << std::endl;
  }
  std::vector<TestResult> blocked;
  const auto tell = [&](const TestResult& result) {
    if (options.json || (options.only_failed && !IsBad(result.result))) {
      return;
    }
    if (result.is_blocked) {
      blocked.push_back(result);
    } else {
      Tell(result);
    }
  };
  const Validation validation = RunTests(plan, interruption, tell);
  TellBlocked(blocked);
  const std::string unwritten =
      options.junit.empty() ? "" : WriteJUnit(options.junit, plan, validation);
  const ExitStatus status =
      unwritten.empty() ? StatusOf(validation) : std::max(StatusOf(validation), kFailed);
  if (options.json) {
    Out() << JsonReport(plan, validation, status) << '\n';
  } else {
    Out() << "kaehost: " << AboutCounts(validation) << std::endl;
  }
  if (!unwritten.empty()) {
    TellError(unwritten);
  }
  if (validation.interrupted_by) {
    TellError("interrupted by signal " + std::to_string(*validation.interrupted_by) +
              "; the other tests were not run");
  }
  return status;
}

int Validate(const Options& options) try {
  const std::vector<const Test*> selected = Selected(options);
  if (selected.empty()) {
    return TellPluginFailure(options.plugin, options.json,
                             "no test has such a name; 'kaehost validate --list' shows the names",
                             kBadInput);
  }
  if (options.list) {
    TellTests(selected);
    return kDone;
  }
  const unsigned seed = options.seed ? *options.seed : std::random_device()();
  return Run(options, {options.plugin, selected, std::chrono::seconds(options.timeout), seed});
} catch (const std::exception& error) {
  return TellPluginFailure(options.plugin, options.json, SentenceOf(error), StatusFor(error));
}

std::string AboutExpression(const std::string& text) {
  try {
    const std::regex valid(text);
    return "";
  } catch (const std::regex_error&) {
    return "\"" + Visible(text) +
           "\" is not a regular expression; escape special characters with \\";
  }
}

std::string AboutSeed(const std::string& text) {
  constexpr unsigned kMost = std::numeric_limits<unsigned>::max();
  unsigned seed = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seed);
  return error == std::errc() && end == text.data() + text.size()
             ? ""
             : "\"" + Visible(text) + "\" is not a number from 0 to " + std::to_string(kMost);
}

}  // namespace

void AddValidate(CLI::App& app, Chosen& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* validate = AddCommand(
      app, "validate", "Test whether a plug-in is what it should be, on this kernel", kFooter,
      [options, &chosen] { chosen.run = [options] { return Validate(*options); }; });
  AddOption(validate, "PLUGIN", &options->plugin,
            "Test this plug-in; default: libkaetcp.so in the folder of this program, or else the "
            "installed one");
  AddOption(validate, "--exclude", &options->exclude, "Leave out tests whose name matches this",
            {.type = "RE", .check = AboutExpression});
  AddOption(validate, "--include", &options->include, "Run only tests whose name matches this",
            {.type = "RE", .check = AboutExpression});
  AddOption(validate, "--list", &options->list, "Print the names of the tests, and run none");
  AddOption(validate, "--json", &options->json, "Print one JSON document instead",
            {.excludes = "--list"});
  AddOption(validate, "--junit", &options->junit,
            "Also write the report to this file, as JUnit XML, whole or not at all",
            {.type = "FILE", .excludes = "--list", .check = AboutFile});
  AddOption(validate, "--only-failed", &options->only_failed,
            "Print only tests that failed, crashed or timed out, and the counts");
  AddOption(validate, "--seed", &options->seed,
            "Start the random values of the tests from this number, as an earlier run did",
            {.type = "N", .check = AboutSeed});
  AddOption(validate, "--timeout", &options->timeout, "Kill a test after this time; default: 30",
            {.type = "SECONDS", .most = 3600});
}

}  // namespace devhost
