#include "tests/model/tests/features.h"

#include <algorithm>

#include "tests/model/predictor/predict.h"

namespace model {
namespace {

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

std::string NameOf(File::Kind kind) {
  static const std::map<File::Kind, std::string> kNames = {
      {File::kText, "a text"},
      {File::kMissing, "a missing file"},
      {File::kFolder, "a folder"},
      {File::kLoop, "a loop"},
      {File::kSocket, "a socket"},
      {File::kBelowAFile, "a path below a file"},
      {File::kReadOnly, "a read-only file"},
      {File::kWriteProtected, "a write-protected file"},
      {File::kSealed, "a sealed file"},
      {File::kRunningProgram, "a running program"},
      {File::kFullDevice, "a full device"},
  };
  return kNames.at(kind);
}

int Features::operator[](const std::string& feature) const {
  const auto found = counts_.find(feature);
  return found != counts_.end() ? found->second : 0;
}

void Features::Count(const Scenario& scenario) {
  found_.clear();
  for (const auto& [name, file] : scenario.files) {
    CountFile(name, file, "at the start");
  }
  for (const Operation& operation : scenario.operations) {
    CountOperation(operation);
  }
  Note(scenario.operations.back().kind == Operation::kTakeDescriptors ? "releases in vain" : "");
  CountLayers(scenario);
  CountAccess(scenario);
  CountLines(scenario);
  for (const std::string& feature : found_) {
    ++counts_[feature];
  }
}

void Features::CountFile(const std::string& name, const File& file, const std::string& how) {
  Note(name + " is named");
  Note(NameOf(file.kind) + " " + how);
  if (file.kind == File::kText) {
    CountValue(file.text);
    const auto words = std::count(file.text.begin(), file.text.end(), ' ');
    Note(file.text.find_first_of("\v\f") != std::string::npos ? "odd white space in a file" : "");
    Note(Contains(file.text, std::string(1, '\0')) ? "a NUL in a file" : "");
    Note(words >= 3 ? "surplus words in a file" : "");
    Note(name == "ipv4/tcp_mem" && words == 0 ? "a short file of three values" : "");
  }
}

void Features::CountOperation(const Operation& operation) {
  const std::string how = operation.when.empty() ? "at once" : "on a line";
  switch (operation.kind) {
    case Operation::kConfigure:
      Note(operation.answer ? "a reply taken" : "a reply refused");
      CountDocument(operation.document);
      break;
    case Operation::kChangeFile:
      CountFile(operation.file, operation.state, how);
      break;
    case Operation::kTakeDescriptors:
      Note("descriptors taken " + how);
      break;
    case Operation::kGiveDescriptors:
      Note("descriptors given back " + how);
      break;
    case Operation::kStart:
      Note("start");
      break;
    case Operation::kStop:
      Note("stop");
      break;
    case Operation::kNewLayer:
    case Operation::kRelease:
      break;
  }
}

void Features::CountLayers(const Scenario& scenario) {
  std::size_t living = 0;
  std::map<std::size_t, int> requests;
  std::size_t last = 0;
  for (const Operation& operation : scenario.operations) {
    if (operation.kind == Operation::kNewLayer) {
      Note(std::to_string(++living) + " layers at once");
    } else if (operation.kind == Operation::kRelease) {
      --living;
      Note("a release in the middle");
    } else if (operation.kind == Operation::kConfigure) {
      Note(++requests[operation.layer] >= 3 ? "three requests to a layer" : "");
      Note(operation.layer < last ? "an older layer after a newer one" : "");
      last = operation.layer;
    }
  }
}

// The kind of every file while a pass reads or writes it. Ignores changes that wait for a line.
void Features::CountAccess(const Scenario& scenario) {
  std::map<std::string, File> files = scenario.files;
  const auto note = [&](const std::string& how) {
    for (const auto& [name, file] : files) {
      Note(NameOf(file.kind) + how);
    }
  };
  for (const Operation& operation : scenario.operations) {
    if (operation.kind == Operation::kChangeFile && operation.when.empty()) {
      files[operation.file] = operation.state;
    } else if (operation.kind == Operation::kNewLayer) {
      note(" is read");
    } else if (operation.kind == Operation::kRelease) {
      note(" is written by a release");
    } else if (operation.kind == Operation::kConfigure && !operation.document.empty() &&
               operation.document[0].name == "tcp-settings") {
      note(" is written by a request");
    }
  }
  note(" is written by a release");
}

void Features::CountLines(const Scenario& scenario) {
  const std::string output = Predict(scenario).output;
  Note(Contains(output, "{success}") ? "success" : "");
  Note(Contains(output, "{error") ? "failure" : "");
  Note(Contains(output, "Too many open files") ? "no descriptor" : "");
  for (const Operation& operation : scenario.operations) {
    const std::string& line = operation.when;
    if (!line.empty() && Contains("\n" + output, "\n" + line + "\n")) {
      Note("on " + line.substr(0, line.find_first_of("[:-")));
    }
  }
}

}  // namespace model
