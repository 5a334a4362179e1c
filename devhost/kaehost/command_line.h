#pragma once

#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
class FormatterBase;
class ParseError;
}  // namespace CLI

namespace devhost {

// Returns what prints the help: descriptions wrapped to 80 columns, and an option's own text (its
// option_text), if it has one, in the usage line.
std::shared_ptr<CLI::FormatterBase> HelpFormatter();

// Returns the words of a command line in the order that CLI::App::parse wants, last word first.
// "--option=" becomes two words, because the parser takes the next word for its value otherwise.
std::vector<std::string> WordsToParse(int argc, const char* const* argv);

// Returns a sentence on a command line that `app` did not accept.
std::string AboutBadUsage(const CLI::App& app, const CLI::ParseError& error);

// Returns a sentence with the command whose help to read then.
std::string WhereHelpIs(const CLI::App& app);

// Throws CLI::ValidationError if the operands name standard input, "-", twice.
void RefuseSecondStandardInput(const std::vector<std::string>& operands);

}  // namespace devhost
