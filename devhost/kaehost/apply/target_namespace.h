#pragma once

#include <string>
#include <vector>

#include "devhost/kaehost/kernel/tunables.h"

namespace devhost {

// The namespace in which documents are applied.
struct TargetNamespace {
  std::vector<std::string> netns;        // network namespaces that exist; empty for a private one
  std::vector<std::string> netns_files;  // that name more of them
  bool live = false;                     // the machine's own tunables instead
  bool as_is = false;                    // read-only core files stay as the kernel has them
  bool initial_values = false;           // a private one keeps the kernel's initial values
  bool whole_catalogue = false;          // files that the kernel does not have are there

  bool IsPrivate() const { return !live && netns.empty(); }
};

// What a session begins with in a namespace.
struct Entered {
  Tunables before;                      // only of a private one: nobody else is there
  std::vector<std::string> emulated;    // files below /proc/sys/net that scratch files emulate
  std::vector<std::string> not_copied;  // to a private one from the machine, because of the kernel
};

// Moves this process into the only namespace of the target. It must have one thread only. A private
// namespace gets the values of the catalogue's files from `machine`, and the machine's of the
// others if somebody uses them. Throws NamespaceError, also if tunables cannot be written there.
Entered Enter(const TargetNamespace& target, const Tunables& machine, bool has_others_inside);

// The same for a process that is already in the network namespace `netns` of the target, with
// private mounts.
Entered Prepare(const TargetNamespace& target, const std::string& netns);

// Returns the lines that describe what has been entered.
std::vector<std::string> Description(const TargetNamespace& target,
                                     const std::vector<std::string>& emulated,
                                     const std::vector<std::string>& not_copied);

}  // namespace devhost
