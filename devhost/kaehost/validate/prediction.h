#pragma once

#include <map>
#include <string>

#include "devhost/kaehost/kernel/tunables.h"
#include "devhost/kaehost/validate/trial.h"

namespace devhost {

// What a layer must write: for each element of the catalogue, a value. A new one has the values
// with which a layer starts: the defaults that the first request imposes, and for all other
// elements the values of `before`.
class Prediction {
 public:
  explicit Prediction(const Tunables& before);

  Prediction& Set(const Settings& settings);

  // Writes these values, as a layer does.
  void Write() const;

  // Returns what the tunables are after a layer has written these values. It finds out: it writes
  // them, reads the tunables and restores them. Kernels differ in the values that they accept.
  Tunables AfterWriting() const;

 private:
  std::map<std::string, std::string> values_;
};

// Returns the words of a tunable's text.
std::vector<std::string> WordsOf(const std::string& text);

}  // namespace devhost
