#include "devhost/kaehost/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <sstream>
#include <utility>

namespace devhost {
namespace {

constexpr std::size_t kNames = 22;  // columns for names; descriptions have the rest of 80
constexpr std::size_t kDescriptions = 80 - kNames;

std::string Wrapped(const std::string& text) {
  std::istringstream words(text);
  std::string wrapped;
  std::size_t width = 0;
  for (std::string word; words >> word;) {
    const bool fits = width + 1 + word.size() <= kDescriptions;
    wrapped += (width == 0 ? "" : fits ? " " : "\n") + word;
    width = (width > 0 && fits ? width + 1 : 0) + word.size();
  }
  return wrapped;
}

class Formatter : public CLI::Formatter {
 public:
  Formatter() {
    column_width(kNames);
    label("SUBCOMMAND", "COMMAND [ARGUMENT]...");
    label("Positionals", "Operands");
  }

  std::string make_option_name(const CLI::Option* option, bool is_positional) const override {
    return CLI::detail::find_and_replace(CLI::Formatter::make_option_name(option, is_positional),
                                         ",", ", ");
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string value = option->nonpositional() ? option->get_type_name() : "";
    return value.empty() ? "" : "=" + value;
  }

  std::string make_option_desc(const CLI::Option* option) const override {
    return Wrapped(option->get_description());
  }

  std::string make_option_usage(const CLI::Option* option) const override {
    const std::string& own_text = option->get_option_text();
    return own_text.empty() ? CLI::Formatter::make_option_usage(option) : own_text;
  }

  std::string make_subcommand(const CLI::App* command) const override {
    std::ostringstream out;
    CLI::detail::format_help(out, command->get_name(), Wrapped(command->get_description()), kNames);
    return out.str();
  }
};

// What is unknown explains a bad command line better than what is missing.
std::string AboutUnknown(const std::string& word, bool has_command) {
  if (word.starts_with("--")) {
    return "unrecognized option '" + word + "'";
  }
  if (word.starts_with('-') && word.size() > 1) {
    return std::string("invalid option -- '") + word[1] + "'";
  }
  return (has_command ? "extra operand '" : "unrecognized command '") + word + "'";
}

// The parser's own sentences begin with the name of what they are about.
std::string AboutError(const CLI::ParseError& error, bool has_command) {
  std::string text = error.what();
  std::string name = text.substr(0, text.find_first_of(" :"));
  const std::string last = text.substr(text.rfind(' ') + 1);
  if (dynamic_cast<const CLI::ExcludesError*>(&error) != nullptr) {
    return "options '" + name + "' and '" + last + "' are mutually exclusive";
  }
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
    return name.starts_with("--") ? "option '" + name + "' requires an argument"
                                  : "option '--" + name + "' doesn't allow an argument";
  }
  if (dynamic_cast<const CLI::RequiredError*>(&error) == nullptr) {
    return text;
  }
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return has_command ? "missing " + name + " operand" : "missing command";
}

}  // namespace

std::shared_ptr<CLI::FormatterBase> HelpFormatter() { return std::make_shared<Formatter>(); }

std::vector<std::string> WordsToParse(int argc, const char* const* argv) {
  std::vector<std::string> words;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word.starts_with("--") && word.find('=') == word.size() - 1) {
      words.push_back(word.substr(0, word.size() - 1));
      words.emplace_back();
    } else {
      words.push_back(word);
    }
  }
  std::reverse(words.begin(), words.end());
  return words;
}

std::string AboutBadUsage(const CLI::App& app, const CLI::ParseError& error) {
  std::vector<std::string> unknown = app.remaining(true);
  std::erase(unknown, "--");
  const bool has_command = !app.get_subcommands().empty();
  return unknown.empty() ? AboutError(error, has_command)
                         : AboutUnknown(unknown.front(), has_command);
}

std::string WhereHelpIs(const CLI::App& app) {
  const std::vector<CLI::App*> commands = app.get_subcommands();
  return "Try 'kaehost" + (commands.empty() ? "" : " " + commands.front()->get_name()) +
         " --help' for more information.";
}

void RefuseSecondStandardInput(const std::vector<std::string>& operands) {
  if (std::count(operands.begin(), operands.end(), "-") > 1) {
    throw CLI::ValidationError(
        "'-' is there twice, but standard input can be read only once; a file of this name is "
        "'./-'");
  }
}

}  // namespace devhost
