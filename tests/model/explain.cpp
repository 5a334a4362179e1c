#include "tests/model/explain.h"

#include "tests/model/model.h"
#include "tests/model/print.h"
#include "tests/model/reduce.h"

namespace model {

std::string ExplainDifference(Player& player, const Scenario& scenario) {
  const Scenario reduced = Reduce(scenario, [&](const Scenario& candidate) {
    return Predict(candidate) != player.Play(candidate);
  });
  return Print(reduced) + PrintDifference(Predict(reduced), player.Play(reduced));
}

}  // namespace model
