#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

namespace devhost {

// Standard output with its own state. A plug-in can set a failed state or a format in std::cout;
// that must not suppress or change the report about it.
std::ostream& Out();

// Prints "kaehost: " and the sentence as one line on standard error.
void TellError(std::string_view sentence);

// Returns whether standard output is a terminal.
bool IsTerminal();

// Returns lines of a plug-in for standard output: as they are, but for a terminal with the control
// characters made visible.
std::string ForOutput(const std::string& lines);

}  // namespace devhost
