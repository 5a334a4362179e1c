#pragma once

#include <functional>

#include "tests/model/scenario.h"

namespace model {

using Oracle = std::function<bool(const Scenario&)>;

// Whether the story makes sense: it uses layers only between their creation and their release.
bool IsLegal(const Scenario& scenario);

// Answers a scenario that still fails and of which nothing more can be left out or made plainer one
// by one. `still_fails` is asked about legal scenarios only, at most `patience` times.
Scenario Reduce(Scenario scenario, const Oracle& still_fails, int patience = 5000);

}  // namespace model
