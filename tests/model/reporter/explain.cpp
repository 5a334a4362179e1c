#include "tests/model/reporter/explain.h"

#include "tests/model/predictor/predict.h"
#include "tests/model/reporter/print.h"
#include "tests/model/reporter/reduce.h"

namespace model {

std::string ExplainDifference(Player& player, const Scenario& scenario) {
  const Scenario reduced = Reduce(scenario, [&](const Scenario& candidate) {
    return Predict(candidate) != player.Play(candidate);
  });
  return Print(reduced) + PrintDifference(Predict(reduced), player.Play(reduced));
}

}  // namespace model
