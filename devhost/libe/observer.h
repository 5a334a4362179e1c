#pragma once

#include <string>
#include <vector>

#include "host/kaml.h"

namespace devhost {

// Is called after each call that a plug-in makes to this library, with texts for the arguments and
// the result, made by TextOf.
using Observer = void (*)(const char* call, const std::vector<std::string>& arguments,
                          const std::string& result);

// Sets the observer of all calls. Do that before a plug-in is loaded.
void SetObserver(Observer new_observer);

// Null if there is none. Hidden, because each call looks at it.
[[gnu::visibility("hidden")]] extern Observer observer;

// Returns what a trace shows: `"0"`, `<tcp_sack>`, `null`.
std::string TextOf(const char* text);
std::string TextOf(const kaml_content* content);
inline std::string TextOf(bool result) { return result ? "true" : "false"; }

inline std::string TextOf(int result) { return std::to_string(result); }

// Shows a call to the observer. Not inline: a host has none, and must not pay for it.
template <class Argument, class Result>
[[gnu::noinline, gnu::cold]] void Show(const char* call, Argument argument, Result result) {
  observer(call, {TextOf(argument)}, TextOf(result));
}

// Shows a call to the observer, if there is one, and returns its result.
template <class Argument, class Result>
Result Observed(const char* call, Argument argument, Result result) {
  if (observer != nullptr) [[unlikely]] {
    Show(call, argument, result);
  }
  return result;
}

}  // namespace devhost
