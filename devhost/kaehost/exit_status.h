#pragma once

#include <exception>
#include <string>

namespace devhost {

// The exit statuses of kaehost.
enum ExitStatus : int {
  kDone = 0,          // all requests are fulfilled
  kFailed = 1,        // they are not; kaehost has printed what is wrong
  kBadInput = 2,      // the command line or an input file is bad; nothing was done
  kNoPlugin = 3,      // the plug-in does not load or makes no layer
  kNotAsAsked = 4,    // requests succeeded, but the kernel has other values than requested
  kNoNamespace = 77,  // cannot create or enter the namespace
  kSignalled = 128,   // plus the number of a signal that came before the first request
};

constexpr const char* kOutOfMemory =
    "out of memory; free some, or raise the limit for this process (ulimit -v)";

// Returns what the error says, as a sentence.
std::string SentenceOf(const std::exception& error);

// Returns the exit status after a command throws `error`: `otherwise` if its kind has none.
ExitStatus StatusFor(const std::exception& error, ExitStatus otherwise = kFailed);

}  // namespace devhost
