#pragma once

#include <string>

#include "tests/model/scenario.h"

namespace model {

// A scenario in readable form. Long texts and long repetitions are shortened.
std::string Print(const Scenario& scenario);

// The first difference between expected and seen, with what happened just before; empty if there is
// none.
std::string PrintDifference(const Trace& expected, const Trace& seen);

}  // namespace model
