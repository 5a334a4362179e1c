#pragma once

#include <string>
#include <vector>

namespace devhost {

// Where documents are tried.
struct TargetNamespace {
  std::string netns;             // a network namespace that exists; empty for a private one
  bool live = false;             // the machine's own tunables instead
  bool as_is = false;            // read-only core files stay as the kernel has them
  bool whole_catalogue = false;  // files that the kernel does not have are there

  bool IsPrivate() const { return !live && netns.empty(); }
};

// Moves this process there, which must have one thread only, and answers the files below
// /proc/sys/net that scratch files stand in for. Throws NamespaceError, also where tunables are not
// to be written at all.
std::vector<std::string> Enter(const TargetNamespace& target);

// Returns the lines that describe what has been entered.
std::vector<std::string> Description(const TargetNamespace& target,
                                     const std::vector<std::string>& emulated);

}  // namespace devhost
