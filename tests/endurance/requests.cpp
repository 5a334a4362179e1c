#include "tests/endurance/requests.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

using devhost::Document;
using devhost::Reply;

namespace {

const char* const kFirstFile = "core/rmem_max";
const char* const kLastFile = "ipv4/ip_local_port_range";

// Longer than the buffers through which files are written and lines printed.
const std::string kLong(10'000, '7');

// Adds requests one after the other, keeping account of the values that the layer has.
class Cycle {
 public:
  explicit Cycle(const Values& snapshot) : snapshot_(snapshot), values_(snapshot) {}

  void Serve(const char* what, const Values& named) { Serve(what, named, SettingsDocument(named)); }

  void Serve(const char* what, const Values& named, Document document) {
    Add(what, named, std::move(document), Reply::kSuccess);
  }

  void LeaveUnanswered(const char* what, const Values& named, Document document) {
    Add(what, named, std::move(document), Reply::kNone);
  }

  void ServeWithout(const char* file, const char* what, const Values& named) {
    Serve(what, named);
    Obstruct(Obstacle::kMissing, file);
  }

  void Refuse(const char* file, const char* what, const Values& named) {
    Add(what, snapshot_, SettingsDocument(named), Reply::kError);
    Obstruct(Obstacle::kLoop, file);
  }

  std::vector<Step> Take() { return std::move(steps_); }

 private:
  void Add(const char* what, const Values& named, Document document, Reply reply) {
    values_ = With(values_, named);
    steps_.push_back({what, std::move(document), reply, FilesOf(values_), Obstacle::kNone, ""});
  }

  void Obstruct(Obstacle obstacle, const char* file) {
    Step& step = steps_.back();
    step.obstacle = obstacle;
    step.file = file;
    step.files.erase(file);
  }

  Values snapshot_;
  Values values_;
  std::vector<Step> steps_;
};

Values EmptyValues() {
  Values values = DistinctValues("");
  for (auto& [name, value] : values) {
    value.clear();
  }
  return values;
}

// Elements of no setting, and contents that are no elements; one setting among them.
Document Clutter(const Values& named) {
  Document document;
  document.AddText(nullptr, "\n");
  document.AddOther(nullptr, devhost::kComment);
  kaml_content* settings = AddSettings(document, named);
  document.AddText(settings, "\n  ");
  document.AddText(document.AddElement(settings, "tcp_mem"), "1 2 3");
  document.AddText(document.AddElement(settings, "tcp_unheard_of"), "1");
  document.AddOther(settings, devhost::kProcessingInstruction);
  return document;
}

// Elements of settings that set nothing: empty ones, and one whose first child is no text.
Document Nothing() {
  Document document = SettingsDocument({});
  kaml_content* settings = AddSettings(document, {});
  document.AddElement(settings, "tcp_sack");
  kaml_content* ecn = document.AddElement(settings, "tcp_ecn");
  document.AddElement(ecn, "value");
  document.AddText(ecn, "9");
  return document;
}

Document Twice(const Values& first, const Values& second) {
  Document document = SettingsDocument(first);
  AddSettings(document, second);
  return document;
}

Document ThenForeign(const Values& named) {
  Document document = SettingsDocument(named);
  document.AddElement(nullptr, "udp-settings");
  return document;
}

std::string DetailOf(const Step& step) {
  return "[" + TunableTree::Path(step.file) + "]: " + std::strerror(ELOOP);
}

void CheckReply(const Step& step, const devhost::Request& request, bool answer) {
  const bool success = step.reply == Reply::kSuccess;
  const bool error = step.reply == Reply::kError;
  if (answer != success || request.reply() != step.reply || request.answered_again() ||
      (error && (request.error() != "file error" || request.detail() != DetailOf(step)))) {
    throw std::runtime_error("another reply than expected to the request \"" + step.what + "\"");
  }
}

}  // namespace

std::vector<Step> RequestCycle(const Values& snapshot) {
  Cycle cycle(snapshot);
  cycle.Serve("all settings", DistinctValues("10"));
  cycle.Serve("one setting", {{"tcp_sack", "0"}});
  cycle.Serve("a child", {{"tcp_rmem_max", "4194304"}});
  cycle.Serve("long values", {{"rmem_max", kLong}, {"tcp_sack", kLong}, {"tcp_mem_high", kLong}});
  cycle.Serve("one among long ones", {{"tcp_retries2", "8"}});
  cycle.Refuse(kFirstFile, "the first file fails", {{"tcp_sack", "3"}});
  cycle.Serve("all settings empty", EmptyValues());
  cycle.ServeWithout("ipv4/tcp_ecn", "a file is missing", {{"tcp_dsack", "0"}, {"tcp_ecn", "2"}});
  cycle.Serve("clutter", {{"tcp_ecn", "1"}}, Clutter({{"tcp_ecn", "1"}}));
  cycle.Serve("elements that set nothing", {}, Nothing());
  cycle.Serve("odd values", {{"tcp_fack", " 1 "}, {"tcp_mem_pressure", " %s\n%n\t"}});
  cycle.Serve("two at once", {{"tcp_frto", "2"}, {"tcp_sack", "5"}},
              Twice({{"tcp_frto", "1"}, {"tcp_sack", "5"}}, {{"tcp_frto", "2"}}));
  cycle.Serve("no setting", {});
  cycle.LeaveUnanswered("a foreign element", {{"tcp_app_win", "30"}},
                        ThenForeign({{"tcp_app_win", "30"}}));
  cycle.Serve("an empty document", {}, Document());
  cycle.Refuse(kLastFile, "the last file fails", {{"tcp_sack", "4"}, {"tcp_ecn", "0"}});
  return cycle.Take();
}

void Deliver(const Step& step, HostedLayer& layer, TunableTree& tree, bool check_files) {
  if (step.obstacle == Obstacle::kMissing) {
    tree.MakeMissing(step.file);
  } else if (step.obstacle == Obstacle::kLoop) {
    tree.MakeLoop(step.file);
  }
  devhost::Request request;
  const bool answer = layer.Configure(request, step.document);
  CheckReply(step, request, answer);
  if (check_files) {
    CheckFiles(tree, step.files);
  }
  if (step.obstacle != Obstacle::kNone) {
    tree.Write(step.file, "");
  }
}

void CheckFiles(const TunableTree& tree, const Files& files) {
  const std::string wrong = WrongFile(tree, files);
  if (!wrong.empty()) {
    throw std::runtime_error(wrong);
  }
}
