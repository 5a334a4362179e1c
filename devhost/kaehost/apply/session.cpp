#include "devhost/kaehost/apply/session.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <memory>
#include <optional>

#include "devhost/kaehost/apply/interruption.h"
#include "devhost/kaehost/apply/json_report.h"
#include "devhost/kaehost/apply/session_result.h"
#include "devhost/kaehost/apply/text_report.h"
#include "devhost/kaehost/apply/user_command.h"
#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/plugin/plugin.h"
#include "devhost/kaehost/plugin/plugin_output.h"
#include "devhost/kaehost/text/output.h"
#include "devhost/libe/document.h"

namespace devhost {
namespace {

Report::Style StyleOf(const ApplyOptions& options) {
  if (options.json) {
    return Report::kSilent;
  }
  if (options.quiet) {
    return Report::kQuiet;
  }
  return options.verbose ? Report::kVerbose : Report::kNormal;
}

PluginOutput::Fate PluginOutputOf(const ApplyOptions& options) {
  if (options.json) {
    return PluginOutput::kKept;
  }
  if (options.quiet) {
    return PluginOutput::kDropped;
  }
  return options.verbose ? PluginOutput::kShown : PluginOutput::kHeld;
}

// A reader that goes away, or a file that cannot grow, must not prevent the tunables from being
// restored.
void KeepOutputFromEndingTheProcess() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

class Session {
 public:
  Session(const ApplyOptions& options, const std::vector<Document>& documents)
      : options_(options),
        documents_(documents),
        report_(StyleOf(options)),
        plugin_output_(PluginOutputOf(options)) {}

  int Run();

 private:
  void LeadALayersLife();
  void TellPluginLines(bool in_full) { report_.TellPluginLines(plugin_output_.Take(), in_full); }
  void DeliverAll(const Layer& layer);
  void Deliver(const Layer& layer, const Document& document, const std::string& name);
  void UseTheSettings();
  void BringLoopbackUpIfPrivate() const;
  void Release(const Layer& layer);
  void CompareWithBefore();
  bool IsEveryDocumentInForce() const;
  int Status() const;

  const ApplyOptions& options_;
  const std::vector<Document>& documents_;
  const Report report_;
  PluginOutput plugin_output_;
  Interruption interruption_;
  Tunables machine_;
  Tunables before_;
  CatalogueValues start_;
  CatalogueValues now_;
  SessionResult result_;
};

int Session::Run() {
  if (!options_.target.IsPrivate()) {
    KeepOutputFromEndingTheProcess();
  }
  machine_ = ReadTunables();
  result_.emulated = Enter(options_.target);
  result_.where = options_.target.live            ? "live"
                  : options_.target.netns.empty() ? "private"
                                                  : options_.target.netns;
  for (const std::string& line : Description(options_.target, result_.emulated)) {
    report_.Tell(line);
  }
  before_ = ReadTunables();
  now_ = start_ = CatalogueValuesOf(before_, machine_);
  try {
    LeadALayersLife();
  } catch (...) {
    TellPluginLines(true);
    throw;
  }
  const int status = Status();
  if (options_.json) {
    Out() << ToJson(result_, plugin_output_.Text(), status) << '\n';
  }
  return status;
}

// The plug-in is unloaded before the tunables are compared, so that what it does last counts too.
void Session::LeadALayersLife() {
  const auto unload = [this](Plugin* plugin) { plugin_output_.Of([plugin] { delete plugin; }); };
  std::unique_ptr<Plugin, decltype(unload)> plugin(
      plugin_output_.Of([this] { return new Plugin(options_.plugin); }), unload);
  result_.plugin =
      plugin_output_.Of([&] { return plugin->name() + ", version " + plugin->version(); });
  report_.Tell("plug-in " + result_.plugin);
  const Layer layer = plugin_output_.Of([&] { return plugin->NewLayer(); });
  TellPluginLines(false);
  const auto end = [&] {
    Release(layer);
    plugin.reset();
    CompareWithBefore();
  };
  try {
    DeliverAll(layer);
    UseTheSettings();
  } catch (...) {
    end();
    throw;
  }
  end();
}

void Session::DeliverAll(const Layer& layer) {
  for (std::size_t i = 0; i < documents_.size(); ++i) {
    if (interruption_.Came()) {
      report_.Complain("interrupted; not delivered: " + InputName(options_.documents[i]));
    } else {
      Deliver(layer, documents_[i], options_.documents[i]);
    }
  }
}

void Session::Deliver(const Layer& layer, const Document& document, const std::string& name) {
  report_.TellNext("request: " + InputName(name));
  RequestResult& result = result_.requests.emplace_back();
  result.document = name;
  plugin_output_.Of([&] {
    try {
      layer.configure->do_Configure(&result.request, document.contents());
    } catch (...) {
      result.thrown = Thrown();
    }
  });
  CatalogueValues now = CatalogueValuesOf(ReadTunables(), machine_);
  result.outcomes = OutcomesOf(WhatIsAsked(document.contents()), start_, now_, now,
                               result.request.reply() == Reply::kSuccess);
  now_ = std::move(now);
  TellPluginLines(!result.has_succeeded());
  report_.TellResult(result_, result);
}

// Runs nothing under settings that are not those of all documents.
void Session::UseTheSettings() {
  result_.interrupted_by = interruption_.Came();
  const bool complete = !result_.interrupted_by && IsEveryDocumentInForce();
  if (!options_.command.empty() && !complete) {
    report_.Complain(options_.command[0] + ": not run, because " +
                     (result_.interrupted_by ? "the session was interrupted" : "a request failed"));
  } else if (!options_.command.empty()) {
    BringLoopbackUpIfPrivate();
    report_.TellNext("running: " + options_.command[0]);
    result_.command_status = RunUserCommand(options_.command, interruption_, !options_.json);
    report_.Tell(options_.command[0] + ": ended with status " +
                 std::to_string(*result_.command_status));
  } else if (complete && (options_.hold || options_.target.live)) {
    BringLoopbackUpIfPrivate();
    report_.TellHolding(getpid());
    interruption_.Await();
  }
}

void Session::BringLoopbackUpIfPrivate() const {
  if (options_.target.IsPrivate()) {
    BringLoopbackUp();
  }
}

bool Session::IsEveryDocumentInForce() const {
  return result_.requests.size() == documents_.size() &&
         std::all_of(result_.requests.begin(), result_.requests.end(),
                     std::mem_fn(&RequestResult::has_succeeded));
}

void Session::Release(const Layer& layer) {
  report_.TellNext("releasing the layer");
  plugin_output_.Of([&] {
    try {
      layer.release->do_Release();
    } catch (...) {
      result_.release_thrown = Thrown();
    }
  });
}

void Session::CompareWithBefore() {
  const Tunables after = ReadTunables();
  result_.not_restored = Compare(before_, after);
  result_.unread = FindUnread(before_, after);
  TellPluginLines(result_.release_thrown || !result_.may_be_restored());
  report_.TellRelease(result_);
}

int Session::Status() const {
  if (result_.release_thrown || !result_.may_be_restored()) {
    return kFailed;
  }
  const auto& requests = result_.requests;
  const bool is_as_asked = std::all_of(
      requests.begin(), requests.end(),
      [this](const RequestResult& request) { return result_.IsAsAsked(request, options_.strict); });
  if (result_.command_status) {
    return *result_.command_status == 0 && !is_as_asked ? kNotAsAsked : *result_.command_status;
  }
  if (!std::all_of(requests.begin(), requests.end(), std::mem_fn(&RequestResult::has_succeeded))) {
    return kFailed;
  }
  if (result_.interrupted_by) {
    constexpr int kSignalled = 128;
    return kSignalled + *result_.interrupted_by;
  }
  return is_as_asked ? kDone : kNotAsAsked;
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
