#pragma once

#include "tests/model/scenario.h"

namespace model {

// Returns what the plug-in must do in the scenario. Based only on its promises, not on its code.
Trace Predict(const Scenario& scenario);

}  // namespace model
