#pragma once

#include <map>
#include <string>

#include "tests/model/scenario.h"
#include "tests/support/tunable_tree.h"

namespace model {

// The files of a scenario in a tree. `standing` has the kind of each file in the tree, and outlives
// the scenario.
class PlayedFiles {
 public:
  PlayedFiles(TunableTree& tree, std::map<std::string, File::Kind>& standing)
      : tree_(tree), standing_(standing) {}

  // Replaces a file only if it differs. This halves the time of most scenarios.
  void Put(const std::string& name, const File& file);

  // The text of each regular file of the scenario, and of every file that appeared besides. Removes
  // the latter, so that the next scenario does not start with them.
  std::map<std::string, std::string> Texts();

 private:
  void Make(const std::string& name, const File& file);
  std::map<std::string, std::string> TakeStrangers();

  TunableTree& tree_;
  std::map<std::string, File::Kind>& standing_;
};

}  // namespace model
