#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/exit_status.h"

namespace CLI {
class App;
}

namespace devhost {

// What the command line chose: a command with its options.
struct Chosen {
  std::function<int()> run;
  ExitStatus failed = kFailed;  // the exit status after a failure, if its kind has none
  // What follows "--" on the command line of `kaehost apply`, if there is a "--".
  std::optional<std::vector<std::string>> program = std::nullopt;
};

// Each function adds its command to `app`. If the command line has the command, `chosen` runs it.
// `chosen` must outlive `app`. A command throws only std::exceptions with a sentence for the user.
void AddApply(CLI::App& app, Chosen& chosen);
void AddCheck(CLI::App& app, Chosen& chosen);
void AddInspect(CLI::App& app, Chosen& chosen);
void AddImport(CLI::App& app, Chosen& chosen);
void AddList(CLI::App& app, Chosen& chosen);
void AddRestore(CLI::App& app, Chosen& chosen);
void AddValidate(CLI::App& app, Chosen& chosen);

}  // namespace devhost
