#include "tests/model/generator/generate.h"

#include <iterator>

namespace model {
namespace {

constexpr std::size_t kMostLayers = 4;

Operation Step(Operation::Kind kind) {
  Operation operation = {};
  operation.kind = kind;
  return operation;
}

// Builds a scenario step by step, and keeps track of its layers.
class Storyteller {
 public:
  explicit Storyteller(Choices& choices) : choices_(choices) {}

  Scenario Tell() {
    Files();
    if (choices_.OneIn(4)) {
      Change();  // waits for a line of the first layer, or happens before it
    }
    const std::size_t layers = choices_.OneIn(8) ? 1 + choices_.Below(kMostLayers) : 1;
    for (std::size_t i = 0; i < layers; ++i) {
      Add(Operation::kNewLayer);
    }
    const auto steps = choices_.Of<std::size_t>({1, 2, 1, 3, 4, 6, 2, 10});
    for (std::size_t i = 0; i < steps; ++i) {
      NextStep();
    }
    if (choices_.OneIn(2)) {
      // The releases at the end can write nothing, so the files keep what the requests wrote.
      scenario_.operations.push_back(Step(Operation::kTakeDescriptors));
    }
    return scenario_;
  }

 private:
  // A device has all or most files; a short scenario needs few.
  void Files() {
    const auto count = choices_.Of<std::size_t>({2, 0, 4, 1, 8, 3, 5, 50});
    const bool all_well = choices_.OneIn(3);
    for (std::size_t i = 0; i < count; ++i) {
      const std::string& name = count == 50 ? TunableFiles()[i] : choices_.Of(TunableFiles());
      const bool well = all_well || (count == 50 && !choices_.OneIn(20));
      scenario_.files[name] =
          well ? File{File::kText, GenerateValue(choices_)} : GenerateFile(choices_);
    }
  }

  void NextStep() {
    switch (choices_.Below(16)) {
      default:
        Configure();
        break;
      case 8:
      case 9:
      case 10:
      case 11:
        Change();
        break;
      case 12:
        Add(choices_.Of({Operation::kStart, Operation::kStop}));
        break;
      case 13:
        Add(Operation::kRelease);
        break;
      case 14:
        Add(Operation::kNewLayer);
        break;
      case 15:
        Descriptors();
        break;
    }
  }

  // Operations that need a layer are left out if there is none.
  void Add(Operation::Kind kind) {
    Operation operation = Step(kind);
    if (kind == Operation::kNewLayer) {
      if (living_.size() == kMostLayers) {
        return;
      }
      living_.push_back(layers_++);
    } else if (living_.empty()) {
      return;
    } else {
      operation.layer = choices_.Of(living_);
    }
    if (kind == Operation::kRelease) {
      std::erase(living_, operation.layer);
    }
    if (kind == Operation::kConfigure) {
      operation.document = GenerateDocument(choices_);
      operation.answer = !choices_.OneIn(6);
    }
    scenario_.operations.push_back(operation);
  }

  void Configure() { Add(Operation::kConfigure); }

  // Half of the changes are to a file that the scenario already has.
  void Change() {
    Operation operation = Step(Operation::kChangeFile);
    operation.file = KnownFile();
    operation.state = GenerateFile(choices_);
    operation.when = When();
    scenario_.operations.push_back(operation);
  }

  std::string KnownFile() {
    if (scenario_.files.empty() || choices_.OneIn(2)) {
      return choices_.Of(TunableFiles());
    }
    const auto index = static_cast<std::ptrdiff_t>(choices_.Below(scenario_.files.size()));
    return std::next(scenario_.files.begin(), index)->first;
  }

  std::string When() { return choices_.OneIn(2) ? GenerateLine(choices_, scenario_.files) : ""; }

  // Most scenarios give them back, immediately or at some line.
  void Descriptors() {
    Operation take = Step(Operation::kTakeDescriptors);
    take.when = When();
    scenario_.operations.push_back(take);
    if (choices_.OneIn(2)) {
      Configure();
    }
    if (!choices_.OneIn(4)) {
      Operation give = Step(Operation::kGiveDescriptors);
      give.when = When();
      scenario_.operations.push_back(give);
    }
  }

  Choices& choices_;
  Scenario scenario_;
  std::size_t layers_ = 0;
  std::vector<std::size_t> living_;
};

}  // namespace

Scenario Generate(Choices& choices) { return Storyteller(choices).Tell(); }

}  // namespace model
