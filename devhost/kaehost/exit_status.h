#pragma once

#include <exception>

namespace devhost {

// What kaehost ends with.
enum ExitStatus {
  kDone = 0,          // all that was asked for is so
  kFailed = 1,        // it is not; what is wrong has been told
  kBadInput = 2,      // the command line or a file given is bad; nothing was done
  kNoPlugin = 3,      // the plug-in does not load or makes no layer
  kNotAsAsked = 4,    // requests succeeded, but the kernel has not the values asked for
  kNoNamespace = 77,  // no namespace to be had
};

// Answers what kaehost ends with when a command throws `error`.
ExitStatus StatusFor(const std::exception& error);

}  // namespace devhost
