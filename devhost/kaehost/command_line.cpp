#include "devhost/kaehost/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <optional>
#include <ostream>
#include <sstream>

#include "devhost/kaehost/commands.h"
#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/text/output.h"

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
    if (!name.starts_with("--")) {
      return "option '--" + name + "' doesn't allow an argument";
    }
    const bool are_too_many = text.find(": At Most ") != std::string::npos;
    return "option '" + name +
           (are_too_many ? "' can be given only once" : "' requires an argument");
  }
  if (dynamic_cast<const CLI::RequiredError*>(&error) == nullptr) {
    return text;
  }
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return has_command ? "missing " + name + " operand" : "missing command";
}

// Returns the words of a command line in the order that CLI::App::parse wants, last word first.
// "--option=" becomes two words, because the parser takes the next word for its value otherwise.
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

// Returns a sentence on a command line that `app` did not accept.
std::string AboutBadUsage(const CLI::App& app, const CLI::ParseError& error) {
  std::vector<std::string> unknown = app.remaining(true);
  std::erase(unknown, "--");
  const bool has_command = !app.get_subcommands().empty();
  return unknown.empty() ? AboutError(error, has_command)
                         : AboutUnknown(unknown.front(), has_command);
}

// Returns a sentence with the command whose help to read then.
std::string WhereHelpIs(const CLI::App& app) {
  const std::vector<CLI::App*> commands = app.get_subcommands();
  return "Try 'kaehost" + (commands.empty() ? "" : " " + commands.front()->get_name()) +
         " --help' for more information.";
}

// All operands are names, and a shell makes an empty one of a variable that is not set.
std::string AboutOperand(const std::string& name) {
  return name.empty() ? "the name is empty; write one, or leave the operand out" : "";
}

// Adds an option without its details.
struct Adder {
  CLI::App* command;
  const std::string& name;
  const std::string& description;

  CLI::Option* operator()(bool* is_there) const {
    return command->add_flag(name, *is_there, description);
  }

  CLI::Option* operator()(auto* value) const {
    return command->add_option(name, *value, description);
  }

  CLI::Option* operator()(const std::function<void(const std::vector<std::string>&)>& read) const {
    return command->add_option_function(name, read, description);
  }
};

}  // namespace

std::shared_ptr<CLI::App> NewCommandLine(const std::string& version) {
  auto app = std::make_shared<CLI::App>(
      "Tries TCP/IP settings documents on a real kernel, without risk to the machine.", "kaehost");
  app->formatter(std::make_shared<Formatter>());
  app->set_help_flag("-h,--help", "Show this help and exit");
  app->set_version_flag("--version", "kaehost (kaetcp) " + version, "Show the version and exit");
  app->option_defaults()->disable_flag_override();
  app->require_subcommand(1);
  return app;
}

CLI::App* AddCommand(CLI::App& app, const std::string& name, const std::string& description,
                     const std::string& footer, const std::function<void()>& choose) {
  CLI::App* command = app.add_subcommand(name, description);
  command->group("Commands")->footer(footer)->callback(choose);
  return command;
}

void AddOption(CLI::App* command, const std::string& name, const Value& value,
               const std::string& description, const Details& details) {
  CLI::Option* option = std::visit(Adder{command, name, description}, value);
  option->required(details.is_required)->option_text(details.own_usage);
  if (option->nonpositional()) {
    option->type_name(details.type)->allow_extra_args(false);
    if (!details.is_single) {
      option->take_last();
    }
  } else {
    option->check(AboutOperand);
  }
  if (details.most > 0) {
    option->check(CLI::Range(1, details.most));
  }
  if (details.check) {
    option->check(details.check);
  }
  std::istringstream others(details.excludes);
  for (std::string other; others >> other;) {
    option->excludes(other);
  }
}

std::string AboutFile(const std::string& name) {
  return name.empty() ? "the name is empty; name a file, or leave the option out" : "";
}

void Parse(CLI::App& app, int argc, const char* const* argv, Chosen& chosen) try {
  app.parse(WordsToParse(argc, argv));
} catch (const CLI::Success& help) {
  chosen = {[&app, help] { return app.exit(help, Out(), Errors()); }};
} catch (const CLI::ParseError& error) {
  chosen = {[&app, sentence = AboutBadUsage(app, error)] {
              TellError(sentence);
              Errors() << WhereHelpIs(app) << std::endl;
              return kBadInput;
            },
            kBadInput};
}

void RefuseSecondStandardInput(const std::vector<std::string>& operands) {
  if (std::count(operands.begin(), operands.end(), "-") > 1) {
    throw CLI::ValidationError(
        "'-' is there twice, but standard input can be read only once; a file of this name is "
        "'./-'");
  }
}

}  // namespace devhost
