#pragma once

#include <iosfwd>
#include <string>

#include "devhost/kaehost/apply/session_result.h"

// How `kaehost apply` tells a session to people, bit by bit as it happens.

namespace devhost {

class Report {
 public:
  enum Style { kFull, kQuiet, kSilent };

  explicit Report(Style style) : style_(style) {}

  // News, which only a full report has; set apart from the plug-in's lines.
  void Tell(const std::string& line) const;

  // The same after an empty line. The plug-in's passes begin with an empty line too, so there is
  // none at the end of what kaehost says.
  void TellNext(const std::string& line) const;

  // What is wrong, which a quiet report has too.
  void Complain(const std::string& line) const;

  // The reply to a request, what became of the values, and a line with counts, which a quiet report
  // has too.
  void TellResult(const SessionResult& session, const RequestResult& result) const;

  // The end of the layer, and whether everything is back.
  void TellRelease(const SessionResult& session) const;

 private:
  void TellReply(const RequestResult& result) const;
  void TellOutcomes(const SessionResult& session, const RequestResult& result) const;

  const Style style_;
};

}  // namespace devhost
