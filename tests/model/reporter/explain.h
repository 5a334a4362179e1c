#pragma once

#include <string>

#include "tests/model/player/play.h"

namespace model {

// Reduces `scenario` to one that still shows a difference between library and model, and returns a
// readable description of the difference. The two must differ in `scenario`.
std::string ExplainDifference(Player& player, const Scenario& scenario);

}  // namespace model
