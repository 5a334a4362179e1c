#pragma once

#include <map>
#include <set>
#include <string>

#include "tests/model/scenario.h"

namespace model {

// Counts what occurs in scenarios, by name: "a socket is written", "descriptors are taken".
class Features {
 public:
  void Count(const Scenario& scenario);

  // The number of scenarios so far with this feature.
  int operator[](const std::string& feature) const;

 private:
  void Note(const std::string& feature) { found_.insert(feature); }
  void CountFile(const std::string& name, const File& file, const std::string& how);
  void CountOperation(const Operation& operation);
  void CountLayers(const Scenario& scenario);
  void CountAccess(const Scenario& scenario);
  void CountDocument(const std::vector<Node>& document);
  void CountChild(const Node& child, std::size_t depth);
  void CountValue(const std::string& text);
  void CountLines(const Scenario& scenario);

  std::set<std::string> found_;  // in the current scenario
  std::map<std::string, int> counts_;
};

// The name of a kind of file in features: "a socket".
std::string NameOf(File::Kind kind);

}  // namespace model
