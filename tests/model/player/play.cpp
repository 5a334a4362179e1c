#include "tests/model/player/play.h"

#include <deque>
#include <functional>
#include <iostream>

#include "tests/model/player/descriptors.h"
#include "tests/model/player/line_watch.h"
#include "tests/model/player/played_files.h"
#include "tests/support/catalogue.h"
#include "tests/support/host.h"
#include "tests/support/output.h"

namespace model {
namespace {

// A scenario while it is played.
class Story {
 public:
  Story(kaeCPLayerFactory& factory, PlayedFiles& files) : factory_(factory), files_(files) {}

  void Tell(const Operation& operation) {
    if (operation.when.empty()) {
      Do(operation);
    } else {
      waiting_.push_back(&operation);
      watch_.Start();
    }
  }

  void ReleaseAll() {
    for (std::size_t i = 0; i < layers_.size(); ++i) {
      Release(i);
    }
  }

  const std::vector<bool>& results() const { return results_; }

 private:
  void Do(const Operation& operation) {
    switch (operation.kind) {
      case Operation::kNewLayer:
        layers_.push_back(factory_.GetNewLayer());
        break;
      case Operation::kConfigure:
        Configure(operation);
        break;
      case Operation::kStart:
        Callback<kaeCPLayer::StartCB>(operation.layer).do_Start();
        break;
      case Operation::kStop:
        Callback<kaeCPLayer::StopCB>(operation.layer).do_Stop();
        break;
      case Operation::kRelease:
        Release(operation.layer);
        break;
      case Operation::kChangeFile: {
        const Descriptors::Loan loan(descriptors_);
        files_.Put(operation.file, operation.state);
        break;
      }
      case Operation::kTakeDescriptors:
        descriptors_.Take();
        break;
      case Operation::kGiveDescriptors:
        descriptors_.GiveBack();
        break;
    }
  }

  void Configure(const Operation& operation) {
    recording_host::Request request;
    request.answer = operation.answer;
    const kaml_content* document = List(operation.document);
    results_.push_back(
        Callback<kaeCPLayer::ConfigureCB>(operation.layer).do_Configure(&request, document));
  }

  void Release(std::size_t layer) {
    if (layers_.at(layer) != nullptr) {
      Callback<kaeCPLayer::ReleaseCB>(layer).do_Release();
      layers_[layer] = nullptr;
    }
  }

  template <class Interface>
  Interface& Callback(std::size_t layer) {
    return dynamic_cast<Interface&>(*layers_.at(layer));
  }

  kaml_content* List(const std::vector<Node>& nodes) {
    std::vector<kaml_content*> contents;
    contents.reserve(nodes.size());
    for (const Node& node : nodes) {
      contents.push_back(recording_host::Node(node.type, Name(node), {List(node.contents)}));
      contents.back()->text = node.text;
    }
    return recording_host::List(std::move(contents));
  }

  const char* Name(const Node& node) {
    switch (node.name_kind) {
      case Node::kInterned:
        return recording_host::Intern(node.name);
      case Node::kStray:
        return stray_names_.emplace_back(node.name).c_str();
      case Node::kNull:
        break;
    }
    return nullptr;
  }

  void OnLine(const std::string& line) {
    for (auto operation = waiting_.begin(); operation != waiting_.end();) {
      if ((*operation)->when == line) {
        Do(**operation);
        operation = waiting_.erase(operation);
      } else {
        ++operation;
      }
    }
    if (waiting_.empty()) {
      watch_.Stop();
    }
  }

  kaeCPLayerFactory& factory_;
  PlayedFiles& files_;
  Descriptors descriptors_;
  std::vector<kaeCPLayer*> layers_;
  std::vector<bool> results_;
  std::deque<std::string> stray_names_;
  std::vector<const Operation*> waiting_;
  LineWatch watch_{[this](const std::string& line) { OnLine(line); }};
};

std::vector<std::pair<std::string, std::size_t>> RecordedCalls() {
  std::vector<std::pair<std::string, std::size_t>> calls;
  calls.reserve(recording_host::Calls().size());
  for (std::size_t i = 0; i < recording_host::Calls().size(); ++i) {
    calls.emplace_back(std::move(recording_host::Calls()[i]),
                       static_cast<std::size_t>(recording_host::CallPositions()[i]));
  }
  return calls;
}

}  // namespace

// A sanitizer opens a pipe at the first virtual call of each kind, and reports an error if there
// are no descriptors. So the first scenario makes every call, with descriptors.
Player::Player() {
  Scenario life;
  for (const Operation::Kind kind : {Operation::kNewLayer, Operation::kStart, Operation::kStop,
                                     Operation::kConfigure, Operation::kRelease}) {
    life.operations.emplace_back().kind = kind;
  }
  life.operations[3].document = {{1, Node::kInterned, "tcp-settings", "", {}}};
  Play(life);
}

Trace Player::Play(const Scenario& scenario) {
  const NewHost host;
  PlayedFiles files(tree_, standing_);
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    const auto named = scenario.files.find(setting.file);
    files.Put(setting.file, named != scenario.files.end() ? named->second : File());
  }
  CapturedOutput output;
  Trace trace;
  {
    Story story(dynamic_cast<kaeCPLayerFactory&>(*library_.plugin()), files);
    for (const Operation& operation : scenario.operations) {
      story.Tell(operation);
    }
    story.ReleaseAll();
    trace.results = story.results();
  }
  trace.output = output.Take();
  trace.calls = RecordedCalls();
  trace.files = files.Texts();
  return trace;
}

}  // namespace model
