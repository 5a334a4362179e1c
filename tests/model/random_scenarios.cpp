// Plays random scenarios on the built library and on the model, and compares the traces.

#include <CLI/CLI.hpp>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>

#include "devhost/kaehost/kernel/namespaces.h"
#include "tests/model/generator/generate.h"
#include "tests/model/player/play.h"
#include "tests/model/predictor/predict.h"
#include "tests/model/reporter/explain.h"
#include "tests/model/reporter/print.h"
#include "tests/support/namespace.h"

// From the sanitizers, if there are any.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name is theirs.
extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());

namespace {

using Clock = std::chrono::steady_clock;

struct Options {
  std::uint64_t start = 0;
  std::uint64_t count = 2000;
  std::optional<double> seconds;
  std::optional<std::uint64_t> seed;
};

struct Sums {
  Clock::time_point start = Clock::now();
  std::uint64_t scenarios = 0;
  std::uint64_t operations = 0;
  std::uint64_t calls = 0;
  std::uint64_t bytes = 0;
  std::uint64_t files = 0;

  void Add(const model::Scenario& scenario, const model::Trace& trace) {
    ++scenarios;
    operations += scenario.operations.size();
    calls += trace.calls.size();
    bytes += trace.output.size();
    files += trace.files.size();
  }

  double Seconds() const { return std::chrono::duration<double>(Clock::now() - start).count(); }
};

// Names the scenario if a signal or a sanitizer ends the process.
std::uint64_t g_seed = 0;

void TellSeed() {
  std::fprintf(stderr, "scenario %ju ended the process\n", std::uintmax_t{g_seed});
}

void TellSeedAndDie(int signal) {
  TellSeed();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// Plays the scenario of one seed. Returns the difference between library and model as text, empty
// if there is none.
std::string Compare(model::Player& player, std::uint64_t seed, Sums& sums) {
  g_seed = seed;
  model::Choices choices = model::Choices::FromSeed(seed);
  const model::Scenario scenario = model::Generate(choices);
  const model::Trace seen = player.Play(scenario);
  sums.Add(scenario, seen);
  return seen == model::Predict(scenario)
             ? ""
             : "scenario " + std::to_string(seed) + " differs; reduced:\n" +
                   model::ExplainDifference(player, scenario);
}

// Plays until the end or the first difference. Returns that difference.
std::string Run(const Options& options, Sums& sums) {
  model::Player player;
  const auto goes_on = [&] {
    return options.seconds ? sums.Seconds() < *options.seconds : sums.scenarios < options.count;
  };
  std::string difference;
  do {
    difference = Compare(player, options.start + sums.scenarios, sums);
  } while (difference.empty() && goes_on());
  return difference;
}

void Tell(const Options& options, const Sums& sums, const std::string& difference) {
  std::printf(
      "seeds %ju to %ju: %ju scenarios, %ju operations, %ju host calls, %ju bytes of output, "
      "%ju files compared, %.1f seconds, %s\n%s",
      std::uintmax_t{options.start}, std::uintmax_t{options.start + sums.scenarios - 1},
      std::uintmax_t{sums.scenarios}, std::uintmax_t{sums.operations}, std::uintmax_t{sums.calls},
      std::uintmax_t{sums.bytes}, std::uintmax_t{sums.files}, sums.Seconds(),
      difference.empty() ? "no difference" : "a DIFFERENCE", difference.c_str());
}

// Names the scenario if the process dies.
void WatchForTheEnd() {
  for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
    std::signal(signal, TellSeedAndDie);
  }
  if (__sanitizer_set_death_callback != nullptr) {
    __sanitizer_set_death_callback(TellSeed);
  }
}

int Main(int argc, char** argv) {
  CLI::App app{"Compares the plug-in with its model in random scenarios.", "random_scenarios"};
  Options options;
  app.add_option("--count", options.count, "How many scenarios to play")->capture_default_str();
  app.add_option("--seconds", options.seconds, "For how long to play, whatever the count");
  app.add_option("--start", options.start, "The first scenario's seed; the others follow on")
      ->capture_default_str();
  app.add_option("--seed", options.seed, "Print and play the scenario of this seed alone");
  CLI11_PARSE(app, argc, argv);
  // Buffer the output as on a device, where standard output is not a terminal.
  std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
  if (options.seed) {
    options = {.start = *options.seed, .count = 1, .seconds = {}, .seed = {}};
    model::Choices choices = model::Choices::FromSeed(options.start);
    std::fputs(model::Print(model::Generate(choices)).c_str(), stdout);
  }
  EnterPrivateNamespace();
  WatchForTheEnd();
  Sums sums;
  const std::string difference = Run(options, sums);
  Tell(options, sums, difference);
  return difference.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Main(argc, argv);
  } catch (const devhost::NamespaceError& error) {
    return Skip(error.what());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "random_scenarios: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
