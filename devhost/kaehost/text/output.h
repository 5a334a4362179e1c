#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

namespace devhost {

// Standard output, and standard error. Both wait for a reader, also if another process that shares
// the open file has made it non-blocking.
std::ostream& Out();
std::ostream& Errors();

// Prints "kaehost: " and the sentence as one line on standard error.
void TellError(std::string_view sentence);

// Deletes the line of a terminal in which the cursor is.
constexpr const char* kClearLine = "\r\x1b[K";

// Returns whether the descriptor is a terminal that knows escape sequences.
bool KnowsEscapes(int descriptor);

// Shows a line on standard error, if that is such a terminal, for as long as this process prints
// nothing else on either stream.
void ShowPassingLine(std::string_view line);

// Deletes this line, if it is still shown.
void DeletePassingLine();

// Returns whether standard output is a terminal.
bool IsTerminal();

// Returns lines of a plug-in for standard output: as they are, but for a terminal with the control
// characters made visible.
std::string ForOutput(const std::string& lines);

// During its lifetime, a write to these streams can block without blocking this process for ever:
// ten times a second, `give_up` decides, from the time when the write began, whether to give it up.
// The stream has failed then. One object at a time.
class BlockedOutput {
 public:
  using GiveUp = std::function<bool(std::chrono::steady_clock::time_point begin)>;

  explicit BlockedOutput(GiveUp give_up);
  ~BlockedOutput();
  BlockedOutput(const BlockedOutput&) = delete;
  BlockedOutput& operator=(const BlockedOutput&) = delete;
};

}  // namespace devhost
