#pragma once

#include <string>
#include <string_view>

// Characters of foreign text that its reader does not see, or that do something to a terminal.

namespace devhost {

// Returns the text with a name such as <U+001B> for each character that can change what a terminal
// shows: control characters, line separators, marks of the direction of text, and bytes that old
// terminals take for control characters. Those in `kept` stay.
std::string Visible(std::string_view text, std::string_view kept = "");

// Returns a JSON document with an escape sequence for each of these characters in its strings.
std::string Escaped(std::string_view json);

// Returns what the text contains that its reader cannot see, empty if there is nothing of the kind:
// "an invisible character, U+200B", "a NUL byte".
std::string InvisibleIn(std::string_view text);

}  // namespace devhost
