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

  // The text of each file that stands there as a regular one, and of every other that nobody put
  // there, which is taken away so that it is not laid to the next scenario's charge.
  std::map<std::string, std::string> Texts();

 private:
  void Make(const std::string& name, const File& file);
  std::map<std::string, std::string> TakeStrangers();

  TunableTree& tree_;
  std::map<std::string, File::Kind>& standing_;
};

}  // namespace model
