#pragma once

#include <string>
#include <vector>

#include "tests/endurance/hosted.h"

enum class Obstacle { kNone, kMissing, kLoop };

// A request, and what it has to come to.
struct Step {
  std::string what;
  devhost::Document document;
  devhost::Reply reply;
  Files files;  // what the tree holds afterwards
  Obstacle obstacle = Obstacle::kNone;
  std::string file;  // the one that the obstacle stands for, while the request is served
};

// Answers requests that differ in as many ways as an operator's do, among them some that fail. Each
// is to be delivered when those before it have been; the first names all settings, so that after
// the last it can begin anew. `snapshot` is that of the layer.
std::vector<Step> RequestCycle(const Values& snapshot);

// Delivers the request of `step`, with its obstacle in place. Throws std::runtime_error when the
// reply or do_Configure's answer is another than expected, and, if `check_files`, when a file is.
void Deliver(const Step& step, HostedLayer& layer, TunableTree& tree, bool check_files);

// Throws std::runtime_error for the first file that does not hold exactly its text.
void CheckFiles(const TunableTree& tree, const Files& files);
