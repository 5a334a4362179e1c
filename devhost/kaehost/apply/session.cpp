#include "devhost/kaehost/apply/session.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <optional>

#include "devhost/kaehost/apply/json_report.h"
#include "devhost/kaehost/apply/session_journal.h"
#include "devhost/kaehost/apply/session_result.h"
#include "devhost/kaehost/apply/text_report.h"
#include "devhost/kaehost/apply/user_command.h"
#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/plugin/layer_process.h"
#include "devhost/kaehost/process/interruption.h"
#include "devhost/kaehost/text/output.h"
#include "devhost/libe/document.h"

namespace devhost {
namespace {

Watch WatchFor(const ApplyOptions& options) {
  Watch watch;
  if (options.trace) {
    watch.trace = options.json ? TraceForm::kJson : TraceForm::kText;
  }
  if (!options.failures.empty()) {
    const auto files = std::make_shared<FailingFiles>(options.failures);
    watch.open_file = [files](const auto& path, const auto& open) {
      return files->Open(path, open);
    };
    watch.at_end = [files] { files->TellRest(); };
  }
  return watch;
}

class Session {
 public:
  Session(const ApplyOptions& options, const std::vector<Document>& documents)
      : options_(options),
        documents_(documents),
        report_(options),
        interruption_(std::chrono::seconds(options.kill_after)) {}

  int Run();

 private:
  void LeadALayersLife();
  void TellPluginLines(bool in_full);
  void NoteEndOfPlugin(const std::string& during);
  void DeliverAll();
  void Deliver(std::size_t index);
  void UseTheSettings();
  void BringLoopbackUpIfPrivate() const;
  void Release();
  void TellWhatOthersChanged();

  const ApplyOptions& options_;
  const std::vector<Document>& documents_;
  const Report report_;
  Interruption interruption_;
  const BlockedOutput blocked_output_{
      [this](auto begin) { return interruption_.IsOutOfPatience(begin); }};
  std::optional<LayerProcess> layer_;
  Tunables machine_;
  Tunables before_;
  Tunables written_;  // after the last request
  CatalogueValues start_;
  CatalogueValues now_;
  SessionResult result_;
};

int Session::Run() {
  if (!options_.target.IsPrivate()) {
    std::signal(SIGPIPE, SIG_IGN);  // a reader that goes away must not prevent the restoring
  }
  Entered entered = Enter(options_.target, options_.HasOthersInside());
  machine_ = std::move(entered.machine);
  before_ = std::move(entered.before);
  result_.emulated = std::move(entered.emulated);
  result_.not_copied = std::move(entered.not_copied);
  result_.where = options_.target.live            ? "live"
                  : options_.target.netns.empty() ? "private"
                                                  : options_.target.netns;
  for (const std::string& line :
       Description(options_.target, result_.emulated, result_.not_copied)) {
    report_.Tell(line);
  }
  const SessionJournal journal(options_, result_.emulated, before_);
  if (journal.about_former()) {
    report_.Tell(*journal.about_former());
  }
  written_ = before_;
  now_ = start_ = CatalogueValuesOf(before_, machine_);
  try {
    LeadALayersLife();
  } catch (...) {
    if (const std::optional<std::string> sentence = journal.End()) {
      TellError(*sentence);
    }
    throw;
  }
  if (const std::optional<std::string> sentence = journal.End()) {
    result_.journal_kept = journal.path();
    report_.Complain(*sentence);
  }
  const int status = result_.Status(options_.strict);
  if (options_.json) {
    Out() << ToJson(result_, layer_->worker().Output(), status) << '\n';
  }
  return status;
}

void Session::LeadALayersLife() {
  layer_.emplace(options_.plugin, documents_, WatchFor(options_), interruption_);
  try {
    result_.plugin = layer_->AwaitPlugin();
    if (options_.verbose) {
      TellPluginLines(true);
    }
    report_.Tell("plug-in " + result_.plugin);
    layer_->MakeLayer();
  } catch (...) {
    TellPluginLines(true);
    layer_.reset();
    result_.RestoreTheRest(before_);
    report_.TellRestoration(result_);
    throw;
  }
  TellPluginLines(false);
  try {
    DeliverAll();
    UseTheSettings();
  } catch (...) {
    Release();
    throw;
  }
  Release();
}

void Session::TellPluginLines(bool in_full) {
  report_.TellPluginLines(layer_->worker().TakeOutput(), in_full);
}

void Session::NoteEndOfPlugin(const std::string& during) {
  const std::optional<std::string> end = layer_->AboutEnd();
  if (end && !result_.plugin_ended) {
    result_.plugin_ended = *end + " during " + during;
  }
}

void Session::DeliverAll() {
  for (std::size_t i = 0; i < documents_.size(); ++i) {
    if (interruption_.Came()) {
      report_.Complain("interrupted; not delivered: " + InputName(options_.documents[i]));
    } else if (result_.plugin_ended) {
      report_.Complain("not delivered: " + InputName(options_.documents[i]));
    } else {
      Deliver(i);
    }
  }
}

void Session::Deliver(std::size_t index) {
  const std::string& name = options_.documents[index];
  report_.TellNext("request: " + InputName(name));
  RequestResult& result = result_.requests.emplace_back();
  result.document = name;
  result.reply = layer_->Configure(index).value_or(LayerReply());
  NoteEndOfPlugin("request " + std::to_string(index + 1) + " of " +
                  std::to_string(documents_.size()) + ": " + InputName(name));
  written_ = ReadTunables();
  CatalogueValues now = CatalogueValuesOf(written_, machine_);
  result.outcomes = OutcomesOf(WhatIsAsked(documents_[index].contents()), start_, now_, now,
                               result.reply.reply == Reply::kSuccess);
  now_ = std::move(now);
  TellPluginLines(!result.has_succeeded());
  report_.TellResult(result_, result);
}

// Runs nothing under settings that are not those of all documents.
void Session::UseTheSettings() {
  result_.interrupted_by = interruption_.Came();
  const bool complete = !result_.interrupted_by && result_.requests.size() == documents_.size() &&
                        result_.has_succeeded();
  if (!options_.command.empty() && !complete) {
    report_.Complain(options_.command[0] + ": not run, because " +
                     (result_.interrupted_by ? "the session was interrupted"
                      : result_.plugin_ended ? "the plug-in's process ended"
                                             : "a request failed"));
  } else if (!options_.command.empty()) {
    BringLoopbackUpIfPrivate();
    report_.TellNext("running: " + options_.command[0]);
    result_.command_status = RunUserCommand(options_.command, interruption_, !options_.json);
    report_.Tell(options_.command[0] + ": ended with status " +
                 std::to_string(*result_.command_status));
  } else if (complete && (options_.hold || options_.target.live)) {
    BringLoopbackUpIfPrivate();
    report_.TellHolding(getpid());
    interruption_.AwaitSignalOr(layer_->worker().end());
  }
  NoteEndOfPlugin(options_.command.empty() ? "the hold" : "the command");
}

void Session::BringLoopbackUpIfPrivate() const {
  if (options_.target.IsPrivate()) {
    BringLoopbackUp();
  }
}

// In a private namespace nobody else is, unless a command runs there or the settings are held.
void Session::TellWhatOthersChanged() {
  if (!options_.target.IsPrivate() || options_.HasOthersInside()) {
    result_.changed_by_others = Compare(written_, ReadTunables());
    report_.TellWhatOthersChanged(result_);
  }
}

void Session::Release() {
  TellWhatOthersChanged();
  if (!result_.plugin_ended) {
    report_.TellNext("releasing the layer");
  }
  result_.release_thrown = layer_->Release();
  NoteEndOfPlugin("the release");
  result_.RestoreTheRest(before_);
  TellPluginLines(result_.release_thrown || result_.plugin_ended ||
                  !result_.restored_by_kaehost.empty() || !result_.may_be_restored());
  report_.TellRelease(result_);
}

}  // namespace

int RunSession(const ApplyOptions& options) {
  std::vector<Document> documents;
  for (const std::string& path : options.documents) {
    documents.push_back(Document::Read(path));
  }
  return Session(options, documents).Run();
}

}  // namespace devhost
