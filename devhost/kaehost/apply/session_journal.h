#pragma once

#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/apply/options.h"
#include "devhost/kaehost/kernel/journal_folder.h"
#include "devhost/kaehost/kernel/tunables.h"

namespace devhost {

// The journal of a session on tunables that outlive kaehost: with --live or --netns, and without
// --no-journal. This process and those that it forks keep other sessions from the same tunables.
class SessionJournal {
 public:
  // If others can use the namespace, reads the tunables `before`, when no other session can change
  // them any more, and writes the journal of all except those that scratch files emulate. To be
  // called before a plug-in is loaded, in the namespace, which is `netns` unless the session is of
  // the machine's own. Throws NamespaceError.
  SessionJournal(const ApplyOptions& options, const std::string& netns,
                 const std::vector<std::string>& emulated, Tunables& before);

  // Returns a sentence about the journal of a former session, if there was one.
  const std::optional<std::string>& about_former() const { return about_former_; }

  // Deletes the journal if all its tunables are as they were. Otherwise returns the sentence that
  // says what to do. Throws NamespaceError.
  std::optional<std::string> End() const;

  // Deletes the journal, if there is one: nothing was written to the tunables yet.
  void Abandon() const;

  // To be called after End returned a sentence.
  const std::string& path() const { return journal_->path(); }

 private:
  std::optional<std::string> about_former_;
  std::optional<JournalFile> journal_;
};

}  // namespace devhost
