#include "devhost/kaehost/apply/session.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <utility>

#include "devhost/kaehost/apply/json_report.h"
#include "devhost/kaehost/apply/session_namespaces.h"
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
  void LeadTheLayersLives();
  void EndEarly();
  void MakeLayers();
  std::string InWhich(std::size_t number);
  void TellPluginLines(bool in_full);
  void NoteEndOfPlugin(const std::string& during);
  void DeliverAll();
  void Deliver(std::size_t document);
  bool IsComplete() const;
  void UseTheSettings();
  void BringLoopbackUpIfPrivate() const;
  void Release();
  void TellWhatOthersChanged();
  void RestoreTheRest();

  const ApplyOptions& options_;
  const std::vector<Document>& documents_;
  const Report report_;
  Interruption interruption_;
  const BlockedOutput blocked_output_{
      [this](auto begin) { return interruption_.IsOutOfPatience(begin); }};
  SessionResult result_;
  std::optional<SessionNamespaces> namespaces_;
  std::optional<LayerProcess> layers_;
};

int Session::Run() {
  if (!options_.target.IsPrivate()) {
    std::signal(SIGPIPE, SIG_IGN);  // a reader that goes away must not prevent the restoring
  }
  namespaces_.emplace(options_, report_, interruption_, result_.namespaces);
  try {
    LeadTheLayersLives();
  } catch (...) {
    namespaces_->EndJournals(TellError);
    throw;
  }
  namespaces_->EndJournals([this](const auto& sentence) { report_.Complain(sentence); });
  const int status = result_.Status(options_.strict);
  if (options_.json) {
    Out() << ToJson(result_, layers_->worker().Output(), status) << '\n';
  }
  return status;
}

void Session::LeadTheLayersLives() {
  layers_.emplace(options_.plugin, documents_, namespaces_->places(), WatchFor(options_),
                  interruption_);
  try {
    result_.plugin = layers_->AwaitPlugin();
    if (options_.verbose) {
      TellPluginLines(true);
    }
    report_.Tell("plug-in " + result_.plugin);
    MakeLayers();
  } catch (...) {
    TellPluginLines(true);
    EndEarly();
    RestoreTheRest();
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

// Each layer has its time to be released, and before that come the answers of those that were made.
void Session::EndEarly() {
  layers_->BeginRelease();
  for (std::size_t i = 0; i < 2 * namespaces_->count(); ++i) {
    layers_->AwaitRelease();
  }
  layers_.reset();
}

// After an answer that could not be read, no other one is awaited.
void Session::MakeLayers() {
  layers_->BeginMaking();
  bool goes_on = true;
  namespaces_->ForEach("making the layers", [&](std::size_t number) {
    if (!std::exchange(goes_on, false)) {
      return;
    }
    if (number > 0) {
      interruption_.ThrowIfCame();
    }
    try {
      layers_->AwaitLayer();
    } catch (const PluginError& error) {
      throw PluginError(error.what() + InWhich(number));
    }
    goes_on = true;
  });
}

// The end of a sentence.
std::string Session::InWhich(std::size_t number) {
  return namespaces_->count() > 1 ? ", in " + (*namespaces_)[number].where() : "";
}

// In several namespaces they would be too many.
void Session::TellPluginLines(bool in_full) {
  report_.TellPluginLines(layers_->worker().TakeOutput(), in_full && namespaces_->count() == 1);
}

void Session::NoteEndOfPlugin(const std::string& during) {
  const std::optional<std::string> end = layers_->AboutEnd();
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

// While the kernel's values are read in one namespace, the layer of the next one works.
void Session::Deliver(std::size_t document) {
  const std::string& name = options_.documents[document];
  const std::string request = "request " + std::to_string(document + 1) + " of " +
                              std::to_string(documents_.size()) + ": " + InputName(name);
  const Asked asked = WhatIsAsked(documents_[document].contents());
  report_.TellNext("request: " + InputName(name));
  layers_->BeginRequest(0, document);
  bool has_begun = true;
  namespaces_->ForEach(request, [&](std::size_t number) {
    if (!std::exchange(has_begun, false)) {
      return;
    }
    std::optional<LayerReply> reply = layers_->AwaitReply();
    has_begun = reply && number + 1 < namespaces_->count() && !interruption_.Came();
    if (has_begun) {
      layers_->BeginRequest(number + 1, document);
    } else {
      NoteEndOfPlugin(request + InWhich(number));
    }
    namespaces_->MoveTo(number).AddRequest(name, asked, std::move(reply).value_or(LayerReply()));
  });
  TellPluginLines(!result_.has_succeeded(document));
  report_.TellResult(result_, document);
}

// Whether the settings are those of all documents, in all namespaces.
bool Session::IsComplete() const {
  return !result_.interrupted_by && result_.has_succeeded() &&
         result_.InAll([this](const NamespaceResult& result) {
           return result.requests.size() == documents_.size();
         });
}

// Runs nothing under other settings.
void Session::UseTheSettings() {
  result_.interrupted_by = interruption_.Came();
  const bool complete = IsComplete();
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
    interruption_.AwaitSignalOr(layers_->worker().end());
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
    namespaces_->InEach("comparing", [](SessionNamespace& here) { here.FindOthersChanges(); });
    report_.TellWhatOthersChanged(result_);
  }
}

void Session::Release() {
  TellWhatOthersChanged();
  if (!result_.plugin_ended) {
    report_.TellNext(namespaces_->count() == 1 ? "releasing the layer" : "releasing the layers");
  }
  layers_->BeginRelease();
  for (std::size_t i = 0; i < namespaces_->count(); ++i) {
    (*namespaces_)[i].NoteRelease(layers_->AwaitRelease());
  }
  layers_->AwaitEnd();
  const bool is_known_where = layers_->released() < namespaces_->count();
  NoteEndOfPlugin("the release" + (is_known_where ? InWhich(layers_->released()) : ""));
  RestoreTheRest();
  TellPluginLines(!result_.is_released_well());
  report_.TellRelease(result_);
}

void Session::RestoreTheRest() {
  namespaces_->InEach("comparing", [](SessionNamespace& here) { here.RestoreTheRest(); });
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
