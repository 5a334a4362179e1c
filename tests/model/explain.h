#pragma once

#include <string>

#include "tests/model/play.h"

namespace model {

// What library and model differ in, in a reduced scenario that still shows a difference, for a
// person to read. The two must differ in `scenario`.
std::string ExplainDifference(Player& player, const Scenario& scenario);

}  // namespace model
