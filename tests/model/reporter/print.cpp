#include "tests/model/reporter/print.h"

#include "tests/model/reporter/quote.h"

namespace model {
namespace {

std::string Print(const File& file) {
  static const std::map<File::Kind, std::string> kNames = {
      {File::kText, "text"},
      {File::kMissing, "missing"},
      {File::kFolder, "a folder"},
      {File::kLoop, "a loop"},
      {File::kSocket, "a socket"},
      {File::kBelowAFile, "below a file"},
      {File::kReadOnly, "read-only"},
      {File::kWriteProtected, "write-protected"},
      {File::kSealed, "sealed"},
      {File::kRunningProgram, "a running program"},
      {File::kFullDevice, "on a full device"},
  };
  return kNames.at(file.kind) + (file.text.empty() ? "" : " " + Quote(file.text));
}

std::string Print(const Node& node) {
  std::string text = node.type == 1   ? "element"
                     : node.type == 0 ? "text"
                                      : "node of type " + std::to_string(node.type);
  switch (node.name_kind) {
    case Node::kInterned:
      text += " " + Quote(node.name);
      break;
    case Node::kStray:
      text += " named by another pointer to " + Quote(node.name);
      break;
    case Node::kNull:
      text += " without a name";
      break;
  }
  return text + (node.text.empty() ? "" : ": " + Quote(node.text));
}

// Prints equal neighbours only once.
std::string Print(const std::vector<Node>& nodes, const std::string& indent) {
  std::string text;
  for (std::size_t i = 0; i < nodes.size();) {
    std::size_t next = i + 1;
    while (next < nodes.size() && nodes[next] == nodes[i]) {
      ++next;
    }
    text += indent + Print(nodes[i]);
    text += next > i + 1 ? ", " + std::to_string(next - i) + " times\n" : "\n";
    text += Print(nodes[i].contents, indent + "  ");
    i = next;
  }
  return text;
}

std::string Print(const Operation& operation) {
  const std::string layer = " layer " + std::to_string(operation.layer);
  switch (operation.kind) {
    case Operation::kNewLayer:
      return "a new layer\n";
    case Operation::kConfigure:
      return "configure" + layer + (operation.answer ? "" : ", the host refuses the reply") + "\n" +
             Print(operation.document, "    ");
    case Operation::kStart:
      return "start" + layer + "\n";
    case Operation::kStop:
      return "stop" + layer + "\n";
    case Operation::kRelease:
      return "release" + layer + "\n";
    case Operation::kChangeFile:
      return operation.file + " becomes " + Print(operation.state) + "\n";
    case Operation::kTakeDescriptors:
      return "no descriptor is left\n";
    case Operation::kGiveDescriptors:
      return "descriptors are available again\n";
  }
  return "";
}

}  // namespace

std::string Print(const Scenario& scenario) {
  std::string text;
  for (const auto& [name, file] : scenario.files) {
    text += name + " is " + Print(file) + "\n";
  }
  for (const Operation& operation : scenario.operations) {
    text += "- ";
    text += operation.when.empty() ? "" : "at the line " + Quote(operation.when) + ": ";
    text += Print(operation);
  }
  return text;
}

}  // namespace model
