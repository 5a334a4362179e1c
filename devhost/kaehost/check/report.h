#pragma once

#include <string>
#include <vector>

#include "devhost/kaehost/check/findings.h"
#include "devhost/kaehost/text/json.h"

namespace devhost {

// The result of checking one document.
struct CheckResult {
  std::string document;
  std::string error;  // why it cannot be read; empty if it can
  std::vector<Finding> findings;
};

// Prints it for people: findings on standard output, an error on standard error. `quiet` leaves out
// the number of findings.
void Tell(const CheckResult& result, bool quiet);

// Returns the same as a JSON object.
Json ToJson(const CheckResult& result);

}  // namespace devhost
