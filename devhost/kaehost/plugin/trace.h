#pragma once

#include <functional>
#include <initializer_list>
#include <string>

#include "devhost/libe/observer.h"

// The trace of what crosses the interface between host and plug-in, in the process of the plug-in.
// It goes to standard error line by line, so that a crash loses nothing.

namespace devhost {

enum class TraceForm { kNone, kText, kJson };

// What happens beside the calls into a plug-in.
struct Watch {
  TraceForm trace = TraceForm::kNone;

  // If there is one, it is called instead of each call that opens a file. It calls `open`.
  std::function<int(const std::string& path, const std::function<int()>& open)> open_file;

  // Is called at the end of a life with such calls.
  std::function<void()> at_end;

  bool IsNeeded() const { return trace != TraceForm::kNone || open_file; }
};

// Watches all calls from now on, and each file that this thread opens. Call it once. Throws
// PluginError if `open_file` cannot be called.
void StartWatch(const Watch& watch);

// Operations of a plug-in that return nothing, return this for the trace.
struct Nothing {};

inline std::string TextOf(Nothing /*none*/) { return ""; }
inline std::string TextOf(const std::string& text) { return TextOf(text.c_str()); }
inline std::string TextOf(const void* object) { return object != nullptr ? "(object)" : "null"; }

// Whether calls are traced. If not, no texts are made for them, which need memory.
bool IsTracing();

// Trace the begin and the end of a call of the host into the plug-in.
void TraceCall(const char* name, std::initializer_list<std::string> arguments);
void TraceReturn(const char* name, const std::string& result);
void TraceException(const char* name, const std::string& thrown);

// Returns a text about the exception being handled, whatever the plug-in threw.
std::string Thrown();

// Calls `operation` as `name` of the plug-in and returns what it returns.
template <class Operation>
auto Traced(const char* name, std::initializer_list<std::string> arguments, Operation operation) {
  TraceCall(name, arguments);
  auto result = [&] {
    try {
      return operation();
    } catch (...) {
      TraceException(name, IsTracing() ? Thrown() : "");
      throw;
    }
  }();
  TraceReturn(name, IsTracing() ? TextOf(result) : "");
  return result;
}

}  // namespace devhost
