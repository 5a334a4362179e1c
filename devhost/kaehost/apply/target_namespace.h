#pragma once

#include <string>
#include <vector>

#include "devhost/kaehost/kernel/tunables.h"

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

// What a session begins with.
struct Entered {
  Tunables machine;                     // in the namespace that was left
  Tunables before;                      // in the one that was entered
  std::vector<std::string> emulated;    // files below /proc/sys/net that scratch files emulate
  std::vector<std::string> not_copied;  // to a private one from the machine, because of the kernel
};

// Moves this process there. It must have one thread only. A private namespace gets the machine's
// values of the catalogue's files, and of the others if somebody uses them. Throws NamespaceError,
// also if tunables cannot be written there.
Entered Enter(const TargetNamespace& target, bool has_others_inside);

// Returns the lines that describe what has been entered.
std::vector<std::string> Description(const TargetNamespace& target,
                                     const std::vector<std::string>& emulated,
                                     const std::vector<std::string>& not_copied);

}  // namespace devhost
