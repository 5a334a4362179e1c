#pragma once

#include <functional>

#include "tests/model/scenario.h"

namespace model {

using Oracle = std::function<bool(const Scenario&)>;

// Whether the scenario uses each layer only between its creation and its release.
bool IsLegal(const Scenario& scenario);

// Returns a minimal scenario that still fails: no single part can be removed or simplified. Calls
// `still_fails` only for legal scenarios, at most `patience` times.
Scenario Reduce(Scenario scenario, const Oracle& still_fails, int patience = 5000);

}  // namespace model
