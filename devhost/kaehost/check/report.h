#pragma once

#include <string>
#include <vector>

#include "devhost/kaehost/check/findings.h"
#include "devhost/kaehost/text/json.h"

namespace devhost {

// What was found in a document.
struct CheckResult {
  std::string document;
  std::string error;  // why it cannot be read; empty where it can
  std::vector<Finding> findings;
};

// Tells it to people: findings on standard output, an error on standard error. `quiet` leaves out
// the count of findings.
void Tell(const CheckResult& result, bool quiet);

// Answers the same as a JSON object.
Json ToJson(const CheckResult& result);

}  // namespace devhost
