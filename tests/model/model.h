#pragma once

#include "tests/model/scenario.h"

namespace model {

// Answers what is to be seen of the scenario. Knows the plug-in's promises and nothing of its code.
Trace Predict(const Scenario& scenario);

}  // namespace model
