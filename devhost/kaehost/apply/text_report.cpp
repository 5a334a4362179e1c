#include "devhost/kaehost/apply/text_report.h"

#include <cstring>
#include <ostream>

#include "devhost/kaehost/apply/plugin_lines.h"
#include "devhost/kaehost/changes.h"
#include "devhost/kaehost/text/characters.h"
#include "devhost/kaehost/text/colour.h"
#include "devhost/kaehost/text/output.h"
#include "devhost/kaehost/text/table.h"
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

// "3 applied, 1 missing"
std::string Counts(const std::vector<Outcome>& outcomes) {
  std::string text;
  for (const auto& [fate, count] : CountFates(outcomes)) {
    text += (text.empty() ? "" : ", ") + std::to_string(count) + ' ' + WordFor(fate);
  }
  return text.empty() ? "nothing requested, nothing changed" : text;
}

std::string Counted(std::size_t tunables) {
  return std::to_string(tunables) + (tunables == 1 ? " tunable" : " tunables");
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

Report::Report(const ApplyOptions& options)
    : style_(options.json      ? kSilent
             : options.quiet   ? kQuiet
             : options.verbose ? kVerbose
                               : kNormal),
      gives_advice_(options.failures.empty()) {}

void Report::Tell(const std::string& line) const {
  if (HasNews()) {
    Out() << "kaehost: " << Visible(line) << std::endl;
  }
}

void Report::TellNext(const std::string& line) const {
  BeginSection();
  Tell(line);
}

void Report::Complain(const std::string& line) const {
  if (style_ != kSilent) {
    Out() << "kaehost: " << Visible(line) << std::endl;
  }
}

void Report::TellHolding(long process) const {
  const std::string line =
      "holding the settings until Ctrl-C or SIGTERM, then restoring; process " +
      std::to_string(process);
  if (style_ == kSilent) {
    TellError(line);
  } else {
    BeginSection();
    Complain(line);
  }
}

void Report::TellPluginLines(const std::string& text, bool in_full) const {
  const std::string shown = ForOutput(text);
  const std::string end = shown.empty() || shown.ends_with('\n') ? "" : "\n";
  if (style_ == kVerbose) {
    Out() << shown << end << std::flush;
  } else if (style_ == kNormal && !in_full) {
    Out() << Folded(shown) << std::flush;
  } else if (style_ == kNormal && !shown.empty()) {
    Out() << shown << end << std::endl;
  }
}

void Report::TellRestoration(const SessionResult& session) const {
  const std::size_t count = session.restored_by_kaehost.size();
  if (count > 0 || !session.may_be_restored()) {
    Complain("kaehost restored " + Counted(count));
    TellComparison(session, "");
  }
}

void Report::BeginSection() const {
  if (style_ == kVerbose) {
    Out() << '\n';
  }
}

void Report::TellResult(const SessionResult& session, const RequestResult& result) const {
  BeginSection();
  if (result.reply.thrown) {
    Complain("the layer's do_Configure threw: " + *result.reply.thrown);
  }
  TellReply(result);
  TellOutcomes(session, result);
  Complain(InputName(result.document) + ": " + Counts(result.outcomes));
}

void Report::TellReply(const RequestResult& result) const {
  const LayerReply& reply = result.reply;
  switch (reply.reply) {
    case Reply::kNone:
      Complain("reply: none; the layer did not reply to the request");
      break;
    case Reply::kSuccess:
      Tell("reply: success");
      break;
    case Reply::kError:
      Complain("reply: error: " + reply.error + ": " + reply.detail);
      if (const std::string advice = Advice(reply.detail); gives_advice_ && !advice.empty()) {
        Complain(advice);
      }
      break;
  }
  if (reply.answered_again) {
    Complain("the layer replied more than once; only its first reply counts");
  }
}

void Report::TellOutcomes(const SessionResult& session, const RequestResult& result) const {
  if (style_ == kSilent) {
    return;
  }
  Table table({"element", "outcome", "before", "asked", "now"});
  for (const Outcome& outcome : result.outcomes) {
    if (style_ == kVerbose || (HasNews() && outcome.fate != Fate::kUnchanged) || IsWrong(outcome)) {
      table.Add(
          {outcome.entry->element, WordFor(outcome.fate), outcome.before.value_or("-"),
           outcome.asked.value_or("-"),
           outcome.now.value_or("-") + (session.IsEmulated(*outcome.entry) ? " (emulated)" : "")},
          ColourOf(outcome.fate));
    }
  }
  table.Print(Out());
}

void Report::TellChanges(const std::vector<Change>& changes) const {
  PrintUnlessSilent(TableOf(changes));
}

void Report::TellWhatOthersChanged(const SessionResult& session) const {
  if (!session.changed_by_others.empty()) {
    Complain("changed by others since the last request; the release overwrites these values:");
    TellChanges(session.changed_by_others);
  }
}

void Report::TellRelease(const SessionResult& session) const {
  BeginSection();
  const std::size_t count = session.restored_by_kaehost.size();
  std::string end = "layer released; ";
  if (session.plugin_ended) {
    Complain("the plug-in's process " + *session.plugin_ended + "; kaehost restored " +
             Counted(count));
    end.clear();
  } else if (session.release_thrown) {
    Complain("the layer's do_Release threw: " + *session.release_thrown);
    end.clear();
  }
  if (count > 0 && !session.plugin_ended) {
    Complain(end + "not restored by the layer, but by kaehost:");
    TellChanges(session.restored_by_kaehost);
    end.clear();
  }
  TellComparison(session, end);
}

void Report::TellComparison(const SessionResult& session, const std::string& begin) const {
  if (!session.not_restored.empty()) {
    Complain(begin + "not restored:");
    TellChanges(session.not_restored);
  } else if (session.unread.empty()) {
    Tell(begin + "all tunables restored");
  } else if (session.may_be_restored()) {
    Tell(begin + "all tunables restored that can be read");
  } else {
    Complain(begin + "cannot tell whether all tunables are restored");
  }
  TellUnread(session);
}

void Report::TellUnread(const SessionResult& session) const {
  if (session.unread.empty()) {
    return;
  }
  Table table({"tunable", "cannot be read"});
  for (const Unread& unread : session.unread) {
    table.Add({unread.tunable, std::strerror(unread.error)});
  }
  if (!session.may_be_restored() || HasNews()) {
    PrintUnlessSilent(table);
  }
}

void Report::PrintUnlessSilent(const Table& table) const {
  if (style_ != kSilent) {
    table.Print(Out());
  }
}

}  // namespace devhost
