#pragma once

#include <string>

#include "tests/model/scenario.h"

namespace model {

// A scenario, for a person to read. Long texts and long repetitions are cut short.
std::string Print(const Scenario& scenario);

// The first difference between what was to be expected and what was seen, with what led up to it;
// empty where there is none.
std::string PrintDifference(const Trace& expected, const Trace& seen);

}  // namespace model
