#include "tests/model/predictor/predict.h"

#include <cstddef>
#include <map>

#include "tests/model/predictor/layer.h"
#include "tests/model/predictor/surroundings.h"

namespace model {

namespace {

class Host {
 public:
  explicit Host(Surroundings& surroundings) : surroundings_(&surroundings) {}

  void Do(const Operation& operation);
  void ReleaseEveryLayer();

 private:
  void Release(std::size_t number);

  Surroundings* surroundings_;
  std::size_t layers_so_far_ = 0;
  std::map<std::size_t, Layer> layers_;  // those not yet released, in the order of creation
};

void Host::Do(const Operation& operation) {
  switch (operation.kind) {
    case Operation::kNewLayer:
      layers_.emplace(layers_so_far_++, *surroundings_);
      break;
    case Operation::kConfigure: {
      Layer& layer = layers_.at(operation.layer);
      surroundings_->Answer(layer.Configure(operation.document, operation.answer));
      break;
    }
    case Operation::kStart:
    case Operation::kStop:
      break;
    case Operation::kRelease:
      Release(operation.layer);
      break;
    case Operation::kChangeFile:
    case Operation::kTakeDescriptors:
    case Operation::kGiveDescriptors:
      surroundings_->Change(operation);
      break;
  }
}

void Host::Release(std::size_t number) {
  layers_.at(number).Release();
  layers_.erase(number);
}

void Host::ReleaseEveryLayer() {
  while (!layers_.empty()) {
    Release(layers_.begin()->first);
  }
}

}  // namespace

Trace Predict(const Scenario& scenario) {
  Surroundings surroundings(scenario);
  Host host(surroundings);
  for (const Operation& operation : scenario.operations) {
    host.Do(operation);
  }
  host.ReleaseEveryLayer();
  return surroundings.End();
}

}  // namespace model
