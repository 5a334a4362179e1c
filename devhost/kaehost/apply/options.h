#pragma once

#include <string>
#include <vector>

#include "devhost/kaehost/apply/failures.h"
#include "devhost/kaehost/apply/target_namespace.h"

namespace devhost {

struct ApplyOptions {
  std::vector<std::string> documents;
  std::vector<std::string> command;  // to run under the settings; empty for none
  std::string plugin;
  TargetNamespace target;
  int kill_after = 5;   // seconds that the plug-in has after a signal
  bool hold = false;    // keep the settings until a signal comes
  bool strict = false;  // all requested values must be in the kernel itself
  bool json = false;
  bool no_journal = false;  // keep no journal of the original values
  bool quiet = false;
  std::vector<Failure> failures;  // of files that the plug-in opens
  bool trace = false;             // print the calls between host and plug-in on standard error
  bool verbose = false;

  // Whether others than the plug-in can use the namespace.
  bool HasOthersInside() const { return hold || !command.empty(); }
};

}  // namespace devhost
