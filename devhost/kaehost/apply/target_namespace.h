#pragma once

#include <string>
#include <vector>

namespace devhost {

// The namespace in which documents are applied.
struct TargetNamespace {
  std::string netns;             // a network namespace that exists; empty for a private one
  bool live = false;             // the machine's own tunables instead
  bool as_is = false;            // read-only core files stay as the kernel has them
  bool initial_values = false;   // a private one keeps the kernel's initial values
  bool whole_catalogue = false;  // files that the kernel does not have are there

  bool IsPrivate() const { return !live && netns.empty(); }
};

// Moves this process there. It must have one thread only. Returns the files below /proc/sys/net
// that scratch files emulate. Throws NamespaceError, also if tunables cannot be written there.
std::vector<std::string> Enter(const TargetNamespace& target);

// Returns the lines that describe what has been entered.
std::vector<std::string> Description(const TargetNamespace& target,
                                     const std::vector<std::string>& emulated,
                                     const std::vector<std::string>& not_copied);

}  // namespace devhost
