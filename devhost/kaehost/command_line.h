#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace CLI {
class App;
}

namespace devhost {

struct Chosen;

// Where the values of an option go: a bool only takes that the option is there, a std::vector takes
// all values, and a function, too, which throws CLI::ValidationError if one is wrong.
using Value =
    std::variant<bool*, int*, std::string*, std::optional<unsigned>*, std::optional<std::string>*,
                 std::vector<std::string>*, std::function<void(const std::vector<std::string>&)>>;

struct Details {
  std::string type = {};       // what the help calls a value
  bool is_required = false;    // there must be such an operand
  bool is_single = false;      // a second value is an error, and does not replace the first
  int most = 0;                // the value is a number from 1 to this
  std::string own_usage = {};  // what the help's usage line has for an operand
  std::string excludes = {};   // earlier options that cannot be there too
  // Returns why a value is wrong, empty if it is not.
  std::function<std::string(const std::string&)> check = nullptr;
};

// Returns the command line of kaehost without its commands. The option parser's headers are large,
// so only the file of these functions includes them.
std::shared_ptr<CLI::App> NewCommandLine(const std::string& version);

// Adds a command. If the command line has it, `choose` is called when all options are read.
CLI::App* AddCommand(CLI::App& app, const std::string& name, const std::string& description,
                     const std::string& footer, const std::function<void()>& choose);

// Adds an option, or an operand if the name does not begin with "--".
void AddOption(CLI::App* command, const std::string& name, const Value& value,
               const std::string& description, const Details& details = {});

// To check the name of a file: a shell makes an empty one of a variable that is not set.
std::string AboutFile(const std::string& name);

// Parses the command line. If it asks for help, or is bad, `chosen` prints that.
void Parse(CLI::App& app, int argc, const char* const* argv, Chosen& chosen);

// Throws CLI::ValidationError if the operands name standard input, "-", twice.
void RefuseSecondStandardInput(const std::vector<std::string>& operands);

}  // namespace devhost
