#pragma once

#include "tests/model/scenario.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/tunable_tree.h"

namespace model {

// Plays scenarios on the real library, with its own tree of files. Keeps the library loaded. Needs
// the private namespace that the tests' main enters. Only one object at a time; not thread-safe.
class Player {
 public:
  Player();

  // Returns what happened in the scenario.
  Trace Play(const Scenario& scenario);

 private:
  LoadedLibrary library_;
  TunableTree tree_;
  std::map<std::string, File::Kind> standing_;  // the kind of each file in the tree
};

}  // namespace model
