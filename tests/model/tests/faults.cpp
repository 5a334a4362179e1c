#include "tests/model/tests/faults.h"

#include <cerrno>
#include <cstring>
#include <sstream>

#include "tests/model/generator/generate.h"
#include "tests/support/catalogue.h"
#include "tests/support/obstacles.h"

namespace model {
namespace {

constexpr const char* kWritingBegins = "writing config...";
constexpr const char* kRollbackBegins = "setting to previous values";

std::string Path(const std::string& file) { return "/proc/sys/net/" + file; }

std::string MissingLine(const std::string& file, Moment moment) {
  return moment == Moment::kSnapshot ? "error opening stream for read -  file [" + Path(file) +
                                           "]; error: " + std::strerror(ENOENT)
                                     : "file [" + Path(file) + "]; does not exist. Skipped.";
}

// The element that sets a file's first value.
std::string SettingOf(const std::string& file) {
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (setting.file == file) {
      return setting.name;
    }
  }
  return "";
}

// Builds a scenario in which only the faulty file is unusual.
class Teller {
 public:
  explicit Teller(const Fault& fault) : fault_(fault), file_(fault.File()) {}

  Scenario Tell() {
    scenario_.files[file_] = {File::kText, "1 2 3\n"};
    scenario_.files[Other()] = {File::kText, "4\n"};
    LetHappenIn(Moment::kSnapshot);
    Do(Operation::kNewLayer);
    LetHappenIn(Moment::kRequest);
    LetHappenIn(Moment::kRollback);
    Do(Operation::kConfigure);
    scenario_.operations.back().document = {
        {1,
         Node::kInterned,
         "tcp-settings",
         "",
         {{1, Node::kInterned, SettingOf(file_), "", {{0, Node::kInterned, "", "7", {}}}}}}};
    LetHappenIn(Moment::kRelease);
    Do(Operation::kRelease);
    return scenario_;
  }

 private:
  // The file that is opened right before the faulty one, empty if the faulty one is the first.
  std::string Before() const { return fault_.index == 0 ? "" : TunableFiles()[fault_.index - 1]; }

  // The file that makes a request fail, if the moment is the rollback.
  std::string Other() const {
    const bool is_last = fault_.index + 1 == TunableFiles().size();
    return TunableFiles()[is_last ? fault_.index - 2 : fault_.index + 1];
  }

  void LetHappenIn(Moment moment) {
    if (fault_.moment != moment) {
      return;
    }
    if (moment == Moment::kRollback) {
      Put({Other(), {File::kFolder, ""}}, "");
    }
    if (fault_.error == EMFILE) {
      TakeDescriptors();
    } else {
      Put({file_, FaultyFile()}, Beginning());
      Put({file_, {File::kText, "5 6 7\n"}},
          fault_.CanOccur() ? fault_.Line() : "reading config done");
    }
  }

  // The line after which all files of the earlier passes have been opened.
  std::string Beginning() const {
    switch (fault_.moment) {
      case Moment::kSnapshot:
        return "reading previous config...";
      case Moment::kRequest:
        return kWritingBegins;
      case Moment::kRollback:
      case Moment::kRelease:
        return kRollbackBegins;
    }
    return "";
  }

  File FaultyFile() const {
    switch (fault_.error) {
      case EACCES:
        return {fault_.moment == Moment::kSnapshot ? File::kSealed : File::kWriteProtected, "8\n"};
      case EISDIR:
        return {File::kFolder, ""};
      case ELOOP:
        return {File::kLoop, ""};
      case ENXIO:
        return {File::kSocket, ""};
      case EROFS:
        return {File::kReadOnly, "8\n"};
      case ETXTBSY:
        return {File::kRunningProgram, RunningProgram()};
      case ENOTDIR:
        return {File::kBelowAFile, ""};
      default:
        return {File::kMissing, ""};
    }
  }

  // The file before must be missing in this pass, but not earlier: its line is the signal.
  void TakeDescriptors() {
    std::string sign = Beginning();
    if (fault_.index > 0) {
      scenario_.files[Before()] = {File::kText, "9\n"};
      Put({Before(), {File::kMissing, ""}}, Beginning());
      sign = MissingLine(Before(), fault_.moment);
    }
    Do(Operation::kTakeDescriptors);
    scenario_.operations.back().when = sign;
    Do(Operation::kGiveDescriptors);
    scenario_.operations.back().when = fault_.Line();
  }

  void Put(const std::pair<std::string, File>& file, const std::string& when) {
    Do(Operation::kChangeFile);
    scenario_.operations.back().file = file.first;
    scenario_.operations.back().state = file.second;
    scenario_.operations.back().when = when;
  }

  void Do(Operation::Kind kind) {
    scenario_.operations.emplace_back();
    scenario_.operations.back().kind = kind;
  }

  Fault fault_;
  std::string file_;
  Scenario scenario_;
};

}  // namespace

std::string Fault::File() const { return TunableFiles()[index]; }

bool Fault::CanOccur() const {
  return moment != Moment::kSnapshot || (error != EISDIR && error != EROFS && error != ETXTBSY);
}

std::string Fault::Line() const {
  if (error == ENOENT) {
    return MissingLine(File(), moment);
  }
  switch (moment) {
    case Moment::kSnapshot:
      return "error opening stream for read -  file [" + Path(File()) +
             "]; error: " + std::strerror(error);
    case Moment::kRequest:
      return "file write error: [" + Path(File()) + "]: " + std::strerror(error);
    case Moment::kRollback:
    case Moment::kRelease:
      break;
  }
  return "error opening stream for write - file [" + Path(File()) +
         "]; error: " + std::strerror(error);
}

Scenario Fault::Story() const { return Teller(*this).Tell(); }

std::vector<Mention> Mentions(const std::string& output, const std::string& file) {
  std::vector<Mention> mentions;
  std::istringstream lines(output);
  Moment moment = Moment::kSnapshot;
  bool answered = false;
  for (std::string line; std::getline(lines, line);) {
    const bool is_reply = line.front() == '{';
    if (!is_reply && line.find("[" + Path(file) + "]") != std::string::npos) {
      mentions.push_back({moment, line});
    }
    answered = answered || is_reply;
    if (line == "received TCP_Settings command") {
      moment = Moment::kRequest;
    } else if (line.starts_with("file write error: ")) {
      moment = Moment::kRollback;
    } else if (answered && line == kRollbackBegins) {
      moment = Moment::kRelease;
    }
  }
  return mentions;
}

}  // namespace model
