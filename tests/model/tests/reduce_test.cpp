#include "tests/model/reporter/reduce.h"

#include <gtest/gtest.h>

#include "tests/model/generator/generate.h"
#include "tests/model/reporter/print.h"

namespace model {
namespace {

Operation Step(Operation::Kind kind, std::size_t layer = 0) {
  Operation operation = {};
  operation.kind = kind;
  operation.layer = layer;
  return operation;
}

Node Element(const std::string& name, std::vector<Node> contents) {
  return {1, Node::kInterned, name, "", std::move(contents)};
}

Node Text(const std::string& text) { return {0, Node::kInterned, "", text, {}}; }

Operation Configure(std::size_t layer, std::vector<Node> document) {
  Operation operation = Step(Operation::kConfigure, layer);
  operation.document = std::move(document);
  return operation;
}

// A long scenario, of which only a little matters.
Scenario LongStory() {
  Choices choices = Choices::FromSeed(4);
  Scenario scenario;
  for (const std::string& name : TunableFiles()) {
    scenario.files[name] = GenerateFile(choices);
  }
  scenario.files["ipv4/tcp_ecn"] = {File::kReadOnly, "12345"};
  scenario.operations = {Step(Operation::kNewLayer), Step(Operation::kNewLayer),
                         Step(Operation::kRelease, 0), Step(Operation::kNewLayer)};
  std::vector<Node> children;
  for (int i = 0; i < 1000; ++i) {
    children.push_back(
        Element("tcp_sack", {Text(i == 700 ? "a long text with an x in it" : "long"), Text("y")}));
    children.back().name_kind = Node::kStray;
  }
  scenario.operations.push_back(Configure(2, {Text("\n"), Element("tcp-settings", children)}));
  scenario.operations.back().answer = false;
  scenario.operations.push_back(Step(Operation::kStop, 1));
  return scenario;
}

bool HoldsAnX(const std::vector<Node>& nodes) {
  for (const Node& node : nodes) {
    if (node.text.find('x') != std::string::npos || HoldsAnX(node.contents)) {
      return true;
    }
  }
  return false;
}

TEST(Reduce, LeavesOnlyWhatMatters) {
  const Scenario reduced = Reduce(LongStory(), [](const Scenario& scenario) {
    const auto ecn = scenario.files.find("ipv4/tcp_ecn");
    bool has_x = false;
    for (const Operation& operation : scenario.operations) {
      has_x |= HoldsAnX(operation.document);
    }
    return has_x && ecn != scenario.files.end() && ecn->second.kind == File::kReadOnly;
  });
  Scenario minimal;
  minimal.files["ipv4/tcp_ecn"] = {File::kReadOnly, ""};
  minimal.operations = {Step(Operation::kNewLayer),
                        Configure(0, {Element("", {Element("", {Text("x")})})})};
  EXPECT_EQ(reduced, minimal) << Print(reduced);
}

TEST(Reduce, AsksAboutLegalStoriesOnly) {
  Reduce(LongStory(), [](const Scenario& scenario) {
    EXPECT_TRUE(IsLegal(scenario)) << Print(scenario);
    return scenario.operations.size() > 2;
  });
}

TEST(Reduce, KeepsTheLayerThatMatters) {
  Scenario scenario;
  scenario.operations = {Step(Operation::kNewLayer), Step(Operation::kNewLayer),
                         Step(Operation::kStart, 0), Step(Operation::kRelease, 0),
                         Step(Operation::kStop, 1)};
  const Scenario reduced = Reduce(scenario, [](const Scenario& candidate) {
    return !candidate.operations.empty() && candidate.operations.back().kind == Operation::kStop;
  });
  EXPECT_EQ(reduced.operations,
            (std::vector{Step(Operation::kNewLayer), Step(Operation::kStop, 0)}));
}

TEST(Reduce, SimplifiesKindsAndArmedChanges) {
  Scenario scenario;
  Operation change = Step(Operation::kChangeFile);
  change.file = "ipv4/tcp_sack";
  change.state = {File::kSocket, ""};
  change.when = "config done";
  scenario.operations = {change};
  const Scenario reduced =
      Reduce(scenario, [](const Scenario& candidate) { return candidate.operations.size() == 1; });
  change.state = File();
  change.when = "";
  EXPECT_EQ(reduced.operations, std::vector{change});
}

TEST(Reduce, GivesUpWhenItsPatienceEnds) {
  int asked = 0;
  Reduce(
      LongStory(), [&](const Scenario&) { return ++asked % 2 == 0; }, 40);
  EXPECT_EQ(asked, 40);
}

TEST(IsLegal, RefusesLayersThatAreNotThere) {
  EXPECT_TRUE(IsLegal({{}, {Step(Operation::kNewLayer), Step(Operation::kRelease, 0)}}));
  EXPECT_FALSE(IsLegal({{}, {Step(Operation::kStart, 0)}}));
  EXPECT_FALSE(IsLegal({{}, {Step(Operation::kNewLayer), Step(Operation::kStop, 1)}}));
  EXPECT_FALSE(IsLegal(
      {{},
       {Step(Operation::kNewLayer), Step(Operation::kRelease, 0), Step(Operation::kStart, 0)}}));
}

}  // namespace
}  // namespace model
