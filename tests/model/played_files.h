#pragma once

#include <map>
#include <string>

#include "tests/model/scenario.h"
#include "tests/support/tunable_tree.h"

namespace model {

// A scenario's files as they stand in a tree. `standing` tells what stands where, and outlives the
// scenario.
class PlayedFiles {
 public:
  PlayedFiles(TunableTree& tree, std::map<std::string, File::Kind>& standing)
      : tree_(tree), standing_(standing) {}

  // Replaces what is there only where it differs, which spares most scenarios half of their time.
  void Put(const std::string& name, const File& file);

  // The text of each file that stands there as a regular one.
  std::map<std::string, std::string> Texts() const;

 private:
  void Make(const std::string& name, const File& file);

  TunableTree& tree_;
  std::map<std::string, File::Kind>& standing_;
};

}  // namespace model
