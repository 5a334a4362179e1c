#include "devhost/kaehost/apply/text_report.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <ostream>

#include "devhost/kaehost/apply/plugin_lines.h"
#include "devhost/kaehost/changes.h"
#include "devhost/kaehost/text/characters.h"
#include "devhost/kaehost/text/output.h"
#include "devhost/kaehost/text/table.h"

namespace devhost {
namespace {

std::string Counted(std::size_t tunables) {
  return std::to_string(tunables) + (tunables == 1 ? " tunable" : " tunables");
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

void Report::TellSome(const std::vector<std::string>& lines) const {
  constexpr std::size_t kMost = 3;
  const std::size_t count = style_ == kVerbose ? lines.size() : std::min(lines.size(), kMost);
  for (std::size_t i = 0; i < count; ++i) {
    Tell(lines[i]);
  }
  if (count < lines.size()) {
    Tell("... and " + std::to_string(lines.size() - count) + " more");
  }
}

void Report::TellRestoration(const SessionResult& session) const {
  const NamespaceResult end = session.End();
  const std::size_t count = end.restored_by_kaehost.size();
  if (count > 0 || !end.may_be_restored()) {
    Complain("kaehost restored " + Counted(count));
    TellComparison(end, "");
  }
}

void Report::BeginSection() const {
  if (style_ == kVerbose) {
    Out() << '\n';
  }
}

// Several namespaces can have many.
void Report::TellChanges(const std::vector<Change>& changes) const {
  constexpr std::size_t kMost = 60;
  const std::size_t count = std::min(changes.size(), kMost);
  const auto begin = changes.begin();
  PrintUnlessSilent(TableOf({begin, begin + static_cast<std::ptrdiff_t>(count)}));
  if (count < changes.size()) {
    Complain("... and " + std::to_string(changes.size() - count) + " more; --json has all");
  }
}

void Report::TellWhatOthersChanged(const SessionResult& session) const {
  if (const NamespaceResult end = session.End(); !end.changed_by_others.empty()) {
    Complain("changed by others since the last request; the release overwrites these values:");
    TellChanges(end.changed_by_others);
  }
}

void Report::TellRelease(const SessionResult& session) const {
  BeginSection();
  const NamespaceResult end = session.End();
  const std::size_t count = end.restored_by_kaehost.size();
  const std::string layers = session.namespaces.size() == 1 ? "layer" : "layers";
  std::string begin = layers + " released; ";
  if (session.plugin_ended) {
    Complain("the plug-in's process " + *session.plugin_ended + "; kaehost restored " +
             Counted(count));
    begin.clear();
  } else if (end.release_thrown) {
    Complain("the layer's do_Release threw: " + *end.release_thrown);
    begin.clear();
  }
  if (count > 0 && !session.plugin_ended) {
    Complain(begin + "not restored by the " + layers + ", but by kaehost:");
    TellChanges(end.restored_by_kaehost);
    begin.clear();
  }
  TellComparison(end, begin);
}

void Report::TellComparison(const NamespaceResult& end, const std::string& begin) const {
  if (!end.not_restored.empty()) {
    Complain(begin + "not restored:");
    TellChanges(end.not_restored);
  } else if (end.unread.empty()) {
    Tell(begin + "all tunables restored");
  } else if (end.may_be_restored()) {
    Tell(begin + "all tunables restored that can be read");
  } else {
    Complain(begin + "cannot tell whether all tunables are restored");
  }
  TellUnread(end);
}

void Report::TellUnread(const NamespaceResult& end) const {
  if (end.unread.empty()) {
    return;
  }
  Table table({"tunable", "cannot be read"});
  for (const Unread& unread : end.unread) {
    table.Add({unread.tunable, std::strerror(unread.error)});
  }
  if (!end.may_be_restored() || HasNews()) {
    PrintUnlessSilent(table);
  }
}

void Report::PrintUnlessSilent(const Table& table) const {
  if (style_ != kSilent) {
    table.Print(Out());
  }
}

}  // namespace devhost
