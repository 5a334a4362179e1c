#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#include "devhost/kaehost/apply/options.h"
#include "devhost/kaehost/apply/session_result.h"
#include "devhost/kaehost/apply/shared_results.h"
#include "devhost/kaehost/text/table.h"

// The report of `kaehost apply` for people, printed while the session runs.

namespace devhost {

class Report {
 public:
  explicit Report(const ApplyOptions& options);

  // News, for a normal or verbose report.
  void Tell(const std::string& line) const;

  // The same as the beginning of a section. A verbose report, which has the plug-in's lines, sets
  // sections apart by an empty line before them. There is none after them, because the plug-in's
  // passes begin with an empty line too.
  void TellNext(const std::string& line) const;

  // What is wrong, for a quiet report too.
  void Complain(const std::string& line) const;

  // That the settings are held, and by which process; without a report on standard error.
  void TellHolding(long process) const;

  // What the plug-in printed: in full, or only the lines that report an error. A verbose report has
  // it in full, a quiet one has nothing of it.
  void TellPluginLines(const std::string& text, bool in_full) const;

  // News that can be many: a normal report has the first three and the number of the others.
  void TellSome(const std::vector<std::string>& lines) const;

  // The reply to a request, the table of outcomes, and a line with counts. Only a verbose report
  // has rows for unchanged values; a quiet one has only what is wrong and the counts. Several
  // namespaces have one table.
  void TellResult(const SessionResult& session, std::size_t request) const;

  // What a plug-in without a layer left changed, if anything.
  void TellRestoration(const SessionResult& session) const;

  // What others wrote after the last request, if anything.
  void TellWhatOthersChanged(const SessionResult& session) const;

  // The end of the layer, and whether all tunables are restored.
  void TellRelease(const SessionResult& session) const;

 private:
  enum Style { kVerbose, kNormal, kQuiet, kSilent };

  bool HasNews() const { return style_ == kVerbose || style_ == kNormal; }
  void BeginSection() const;
  bool IsShown(const Outcome& outcome) const;
  void TellReply(const LayerReply& reply, const std::string& where) const;
  void TellOutcomes(const std::vector<SharedOutcome>& outcomes, std::size_t namespaces) const;
  void TellChanges(const std::vector<Change>& changes) const;
  void TellComparison(const NamespaceResult& end, const std::string& begin) const;
  void TellUnread(const NamespaceResult& end) const;
  void PrintUnlessSilent(const Table& table) const;

  const Style style_;
  const bool gives_advice_;  // on errors: it would be wrong for those of --fail
};

}  // namespace devhost
