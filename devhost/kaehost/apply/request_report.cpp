// The report on one request, in all namespaces of the session.

#include <ostream>

#include "devhost/kaehost/apply/shared_results.h"
#include "devhost/kaehost/apply/text_report.h"
#include "devhost/kaehost/text/colour.h"
#include "devhost/libe/document.h"

namespace devhost {
namespace {

Colour ColourOf(Fate fate) {
  switch (fate) {
    case Fate::kApplied:
    case Fate::kUnchanged:
      return Colour::kGreen;
    case Fate::kRejected:
    case Fate::kRestored:
      return Colour::kRed;
    default:
      return Colour::kYellow;
  }
}

bool IsWrong(const Outcome& outcome) {
  return outcome.fate != Fate::kApplied && outcome.fate != Fate::kUnchanged &&
         outcome.fate != Fate::kOverridden;
}

// What to do about an error reply that the environment causes; empty for other errors.
std::string Advice(const std::string& detail) {
  if (detail.find("/core/") != std::string::npos && detail.ends_with("Permission denied")) {
    return "core/rmem_max and core/wmem_max are read-only outside the initial network namespace; "
           "leave out --as-is and --live to emulate them";
  }
  if (detail.ends_with("Permission denied")) {
    return "only root of the network namespace can write this file; run as root there";
  }
  if (detail.ends_with("Read-only file system")) {
    return "/proc/sys is mounted read-only, as in most containers; start the container with a "
           "writable /proc/sys";
  }
  return "";
}

}  // namespace

void Report::TellResult(const SessionResult& session, std::size_t request) const {
  const std::size_t total = session.namespaces.size();
  const std::vector<SharedReply> replies = SharedRepliesOf(session, request);
  const std::vector<SharedOutcome> outcomes = SharedOutcomesOf(session, request);
  BeginSection();
  for (const auto& [reply, namespaces] : replies) {
    const std::string count = CountOf(namespaces, total, style_ == kVerbose);
    TellReply(reply, total == 1 ? "" : " (namespaces: " + count + ')');
  }
  TellOutcomes(outcomes, total);
  const std::string& name = session.namespaces.front().requests[request].document;
  Complain(InputName(name) + ": " + CountsOf(outcomes));
}

void Report::TellReply(const LayerReply& reply, const std::string& where) const {
  if (reply.thrown) {
    Complain("the layer's do_Configure threw: " + *reply.thrown + where);
  }
  switch (reply.reply) {
    case Reply::kNone:
      Complain("reply: none; the layer did not reply to the request" + where);
      break;
    case Reply::kSuccess:
      Tell("reply: success" + where);
      break;
    case Reply::kError:
      Complain("reply: error: " + reply.error + ": " + reply.detail + where);
      if (const std::string advice = Advice(reply.detail); gives_advice_ && !advice.empty()) {
        Complain(advice);
      }
      break;
  }
  if (reply.answered_again) {
    Complain("the layer replied more than once; only its first reply counts" + where);
  }
}

bool Report::IsShown(const Outcome& outcome) const {
  return style_ == kVerbose || (HasNews() && outcome.fate != Fate::kUnchanged) || IsWrong(outcome);
}

void Report::TellOutcomes(const std::vector<SharedOutcome>& outcomes,
                          std::size_t namespaces) const {
  std::vector<std::string> titles = {"element", "outcome", "before", "asked", "now"};
  if (namespaces > 1) {
    titles.emplace_back("namespaces");
  }
  Table table(titles);
  for (const auto& [outcome, is_emulated, where] : outcomes) {
    if (!IsShown(outcome)) {
      continue;
    }
    std::vector<std::string> row = {outcome.entry->element, WordFor(outcome.fate),
                                    outcome.before.value_or("-"), outcome.asked.value_or("-"),
                                    outcome.now.value_or("-") + (is_emulated ? " (emulated)" : "")};
    if (namespaces > 1) {
      row.push_back(CountOf(where, namespaces, style_ == kVerbose));
    }
    table.Add(row, ColourOf(outcome.fate));
  }
  PrintUnlessSilent(table);
}

}  // namespace devhost
