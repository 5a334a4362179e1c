#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace devhost {

// What is to be done in the end: the command that the command line chose, with its options.
using Chosen = std::function<int()>;

// Each adds its command to `app`, and lets `chosen` do it when the command line has it. `chosen`
// must outlive `app`. What a command throws is a std::exception that explains itself to the user.

// `command` is what follows "--" on the command line, if that is there.
void AddApply(CLI::App& app, Chosen& chosen,
              const std::optional<std::vector<std::string>>& command);

void AddCheck(CLI::App& app, Chosen& chosen);
void AddInspect(CLI::App& app, Chosen& chosen);
void AddImport(CLI::App& app, Chosen& chosen);

}  // namespace devhost
