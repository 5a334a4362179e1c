#pragma once

#include "tests/model/scenario.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/tunable_tree.h"

namespace model {

// Plays scenarios on the real library, which it keeps loaded, over a tree of files of its own.
// Needs the private namespace that the tests' main enters. One at a time; not for several threads.
class Player {
 public:
  Player();

  // Answers what was seen of the scenario.
  Trace Play(const Scenario& scenario);

 private:
  LoadedLibrary library_;
  TunableTree tree_;
  std::map<std::string, File::Kind> standing_;  // what stands where in the tree
};

}  // namespace model
