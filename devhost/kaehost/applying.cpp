#include "devhost/kaehost/applying.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <memory>
#include <optional>

#include "devhost/kaehost/command.h"
#include "devhost/kaehost/interruption.h"
#include "devhost/kaehost/output.h"
#include "devhost/kaehost/plugin.h"
#include "devhost/kaehost/program.h"
#include "devhost/kaehost/progress.h"
#include "devhost/kaehost/report.h"
#include "devhost/kaehost/session.h"
#include "devhost/kaehost/session_json.h"
#include "devhost/libe/document.h"

namespace devhost {
namespace {

Report::Style StyleOf(const ApplyOptions& options) {
  if (options.json) {
    return Report::kSilent;
  }
  return options.quiet ? Report::kQuiet : Report::kFull;
}

Progress::Fate ProgressOf(const ApplyOptions& options) {
  if (options.json) {
    return Progress::kKept;
  }
  return options.quiet ? Progress::kDropped : Progress::kShown;
}

// Neither a reader that goes nor a file that may not grow is to keep the tunables from coming back.
void KeepOutputFromEndingTheProcess() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

class Applying {
 public:
  Applying(const ApplyOptions& options, const std::vector<Document>& documents)
      : options_(options),
        documents_(documents),
        report_(StyleOf(options)),
        progress_(ProgressOf(options)) {}

  int Run();

 private:
  void LeadALayersLife();
  void DeliverAll(const Layer& layer);
  void Deliver(const Layer& layer, const Document& document, const std::string& name);
  void UseTheSettings();
  void Release(const Layer& layer);
  bool IsEveryDocumentInForce() const;
  int Status() const;

  const ApplyOptions& options_;
  const std::vector<Document>& documents_;
  const Report report_;
  Progress progress_;
  Interruption interruption_;
  Tunables before_;
  CatalogueValues start_;
  CatalogueValues now_;
  Session session_;
};

int Applying::Run() {
  session_.emulated = Enter(options_.place);
  session_.where = options_.place.live            ? "live"
                   : options_.place.netns.empty() ? "private"
                                                  : options_.place.netns;
  report_.Tell(Description(options_.place, session_.emulated));
  if (!options_.place.IsPrivate()) {
    KeepOutputFromEndingTheProcess();
  }
  before_ = ReadTunables();
  now_ = start_ = CatalogueValuesOf(before_);
  LeadALayersLife();
  const int status = Status();
  if (options_.json) {
    Out() << ToJson(session_, progress_.Text(), status) << '\n';
  }
  return status;
}

void Applying::LeadALayersLife() {
  const auto unload = [this](Plugin* plugin) { progress_.Of([plugin] { delete plugin; }); };
  const std::unique_ptr<Plugin, decltype(unload)> plugin(
      progress_.Of([this] { return new Plugin(options_.plugin); }), unload);
  session_.plugin = progress_.Of([&] { return plugin->name() + ", version " + plugin->version(); });
  report_.Tell("plug-in " + session_.plugin);
  const Layer layer = progress_.Of([&] { return plugin->NewLayer(); });
  try {
    DeliverAll(layer);
    UseTheSettings();
  } catch (...) {
    Release(layer);
    throw;
  }
  Release(layer);
}

void Applying::DeliverAll(const Layer& layer) {
  for (std::size_t i = 0; i < documents_.size(); ++i) {
    if (interruption_.Came()) {
      report_.Complain("interrupted; not delivered: " + options_.documents[i]);
    } else {
      Deliver(layer, documents_[i], options_.documents[i]);
    }
  }
}

void Applying::Deliver(const Layer& layer, const Document& document, const std::string& name) {
  report_.TellNext("request: " + name);
  RequestResult& result = session_.requests.emplace_back();
  result.document = name;
  progress_.Of([&] {
    try {
      layer.configure->do_Configure(&result.request, document.contents());
    } catch (...) {
      result.thrown = Thrown();
    }
  });
  CatalogueValues now = CatalogueValuesOf(ReadTunables());
  result.outcomes = OutcomesOf(WhatIsAsked(document.contents()), start_, now_, now,
                               result.request.reply() == Reply::kSuccess);
  now_ = std::move(now);
  report_.TellResult(session_, result);
}

// Nothing is tried under settings that are not those of the documents.
void Applying::UseTheSettings() {
  session_.interrupted_by = interruption_.Came();
  const bool complete = !session_.interrupted_by && IsEveryDocumentInForce();
  if (!options_.program.empty() && !complete) {
    report_.Complain(options_.program[0] + ": not run, since not every document is in force");
  } else if (!options_.program.empty()) {
    if (options_.place.IsPrivate()) {
      BringLoopbackUp();
    }
    report_.TellNext("running: " + options_.program[0]);
    session_.program_status = RunProgram(options_.program, interruption_, !options_.json);
    report_.Tell(options_.program[0] + ": ended with status " +
                 std::to_string(*session_.program_status));
  } else if (complete && (options_.hold || options_.place.live)) {
    report_.TellNext("holding the settings until Ctrl-C or SIGTERM, then restoring; process " +
                     std::to_string(getpid()));
    interruption_.Await();
  }
}

bool Applying::IsEveryDocumentInForce() const {
  return session_.requests.size() == documents_.size() &&
         std::all_of(session_.requests.begin(), session_.requests.end(),
                     std::mem_fn(&RequestResult::has_succeeded));
}

void Applying::Release(const Layer& layer) {
  report_.TellNext("releasing the layer");
  progress_.Of([&] {
    try {
      layer.release->do_Release();
    } catch (...) {
      session_.release_thrown = Thrown();
    }
  });
  session_.not_restored = Compare(before_, ReadTunables());
  report_.TellRelease(session_);
}

int Applying::Status() const {
  if (session_.release_thrown || !session_.not_restored.empty()) {
    return kFailed;
  }
  if (session_.program_status) {
    return *session_.program_status;
  }
  const auto& requests = session_.requests;
  if (!std::all_of(requests.begin(), requests.end(), std::mem_fn(&RequestResult::has_succeeded))) {
    return kFailed;
  }
  if (session_.interrupted_by) {
    constexpr int kSignalled = 128;
    return kSignalled + *session_.interrupted_by;
  }
  return std::all_of(requests.begin(), requests.end(), std::mem_fn(&RequestResult::is_as_asked))
             ? kDone
             : kNotAsAsked;
}

}  // namespace

int Apply(const ApplyOptions& options) {
  std::vector<Document> documents;
  for (const std::string& path : options.documents) {
    documents.push_back(Document::Read(path));
  }
  return Applying(options, documents).Run();
}

}  // namespace devhost
