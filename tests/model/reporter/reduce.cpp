#include "tests/model/reporter/reduce.h"

#include <algorithm>
#include <utility>

namespace model {
namespace {

// The path to a list of nodes: the operation, then in each list the node whose contents are next.
using Place = std::vector<std::size_t>;

std::vector<Node>& NodesAt(Scenario& scenario, const Place& place) {
  std::vector<Node>* nodes = &scenario.operations[place[0]].document;
  for (std::size_t i = 1; i < place.size(); ++i) {
    nodes = &(*nodes)[place[i]].contents;
  }
  return *nodes;
}

class Reducer {
 public:
  Reducer(Scenario scenario, const Oracle& still_fails, int patience)
      : best_(std::move(scenario)), still_fails_(still_fails), patience_(patience) {}

  Scenario Run() {
    Scenario before;
    do {
      before = best_;
      DropLayers();
      Shorten([](Scenario & scenario) -> auto& { return scenario.operations; });
      ReduceFiles();
      for (std::size_t i = 0; i < best_.operations.size(); ++i) {
        ReduceOperation(i);
      }
    } while (!(best_ == before) && patience_ > 0);
    return best_;
  }

 private:
  // Keeps the candidate if it still fails.
  bool Try(Scenario candidate) {
    if (patience_ <= 0 || candidate == best_ || !IsLegal(candidate)) {
      return false;
    }
    --patience_;
    if (!still_fails_(candidate)) {
      return false;
    }
    best_ = std::move(candidate);
    return true;
  }

  template <class Edit>
  bool TryTo(Edit edit) {
    Scenario candidate = best_;
    edit(candidate);
    return Try(std::move(candidate));
  }

  // Removes as much as possible from the list or text that `get` returns, large pieces first.
  template <class Get>
  void Shorten(Get get) {
    for (std::size_t piece = get(best_).size(); piece > 0 && patience_ > 0; piece /= 2) {
      for (std::size_t start = 0; start < get(best_).size() && patience_ > 0;) {
        const bool shorter = TryTo([&](Scenario& candidate) {
          auto& list = get(candidate);
          const std::size_t size = std::min(piece, list.size() - start);
          const auto first = list.begin() + static_cast<std::ptrdiff_t>(start);
          list.erase(first, first + static_cast<std::ptrdiff_t>(size));
        });
        start += shorter ? 0 : piece;
      }
    }
  }

  // Removes whole layers, which removing single operations cannot do.
  void DropLayers() {
    const auto layers = static_cast<std::size_t>(
        std::count_if(best_.operations.begin(), best_.operations.end(),
                      [](const Operation& step) { return step.kind == Operation::kNewLayer; }));
    for (std::size_t layer = layers; layer-- > 0;) {
      TryTo([&](Scenario& candidate) { DropLayer(candidate, layer); });
    }
  }

  static void DropLayer(Scenario& scenario, std::size_t layer) {
    std::size_t created = 0;
    std::vector<Operation> kept;
    for (Operation& step : scenario.operations) {
      const std::size_t own = step.kind == Operation::kNewLayer ? created++ : step.layer;
      const bool concerns_layers = step.kind < Operation::kChangeFile;
      if (concerns_layers && own == layer) {
        continue;
      }
      step.layer -= concerns_layers && step.layer > layer ? 1 : 0;
      kept.push_back(std::move(step));
    }
    scenario.operations = std::move(kept);
  }

  void ReduceFiles() {
    TryTo([](Scenario& candidate) { candidate.files.clear(); });
    const std::map<std::string, File> files = best_.files;
    for (const auto& named : files) {
      const std::string& name = named.first;
      if (!TryTo([&](Scenario& candidate) { candidate.files.erase(name); })) {
        ReduceFile([&](Scenario& scenario) -> File& { return scenario.files.at(name); });
      }
    }
  }

  template <class Get>
  void ReduceFile(Get get) {
    if (get(best_).kind != File::kMissing) {
      TryTo([&](Scenario& candidate) { get(candidate) = File(); });
    }
    if (get(best_).kind != File::kMissing && get(best_).kind != File::kText) {
      TryTo([&](Scenario& candidate) { get(candidate) = {File::kText, "1"}; });
    }
    if (get(best_).kind != File::kRunningProgram) {
      Shorten([&](Scenario& scenario) -> std::string& { return get(scenario).text; });
    }
  }

  void ReduceOperation(std::size_t index) {
    const auto get = [index](Scenario& scenario) -> Operation& {
      return scenario.operations[index];
    };
    TryTo([&](Scenario& candidate) { get(candidate).when.clear(); });
    TryTo([&](Scenario& candidate) { get(candidate).answer = true; });
    if (get(best_).kind == Operation::kChangeFile) {
      ReduceFile([&](Scenario& scenario) -> File& { return get(scenario).state; });
    }
    ReduceNodes({index});
  }

  void ReduceNodes(Place place) {
    Shorten([&](Scenario & scenario) -> auto& { return NodesAt(scenario, place); });
    for (std::size_t i = 0; i < NodesAt(best_, place).size() && patience_ > 0; ++i) {
      ReduceNode([&](Scenario& scenario) -> Node& { return NodesAt(scenario, place)[i]; });
      place.push_back(i);
      ReduceNodes(place);
      place.pop_back();
    }
  }

  template <class Get>
  void ReduceNode(Get get) {
    if (get(best_).name_kind == Node::kStray) {
      TryTo([&](Scenario& candidate) { get(candidate).name_kind = Node::kInterned; });
    }
    if (get(best_).type != 0 && get(best_).type != 1) {
      TryTo([&](Scenario& candidate) { get(candidate).type = 0; });
    }
    Shorten([&](Scenario& scenario) -> std::string& { return get(scenario).name; });
    Shorten([&](Scenario& scenario) -> std::string& { return get(scenario).text; });
  }

  Scenario best_;
  const Oracle& still_fails_;
  int patience_;
};

}  // namespace

bool IsLegal(const Scenario& scenario) {
  std::vector<bool> lives;
  for (const Operation& step : scenario.operations) {
    if (step.kind == Operation::kNewLayer) {
      lives.push_back(true);
    } else if (step.kind < Operation::kChangeFile) {
      if (step.layer >= lives.size() || !lives[step.layer]) {
        return false;
      }
      lives[step.layer] = step.kind != Operation::kRelease;
    }
  }
  return true;
}

Scenario Reduce(Scenario scenario, const Oracle& still_fails, int patience) {
  return Reducer(std::move(scenario), still_fails, patience).Run();
}

}  // namespace model
