#pragma once

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace devhost {

// What kaehost ends with.
enum ExitStatus {
  kDone = 0,        // all that was asked for is so
  kFailed = 1,      // it is not; what is wrong has been told
  kBadInput = 2,    // the command line or a file given is bad; nothing was done
  kNoPlugin = 3,    // the plug-in does not load or makes no layer
  kNotAsAsked = 4,  // requests succeeded, but the kernel has not the values asked for
  kNoSandbox = 77,  // no namespace to be had
};

// Answers what kaehost ends with when a command throws `error`.
ExitStatus StatusFor(const std::exception& error);

// What is to be done in the end: the command that the command line chose, with its options.
using Chosen = std::function<int()>;

// Each adds its command to `app`, and lets `chosen` do it when the command line has it. `chosen`
// must outlive `app`. What a command throws is a std::exception that explains itself to the user.

// `program` is what follows "--" on the command line, if that is there.
void AddApply(CLI::App& app, Chosen& chosen,
              const std::optional<std::vector<std::string>>& program);

void AddCheck(CLI::App& app, Chosen& chosen);
void AddInspect(CLI::App& app, Chosen& chosen);
void AddImport(CLI::App& app, Chosen& chosen);

}  // namespace devhost
