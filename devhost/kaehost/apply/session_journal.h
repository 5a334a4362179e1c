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
  // Writes the journal of the tunables `before`, except those that scratch files emulate. To be
  // called before a plug-in is loaded. Throws NamespaceError.
  SessionJournal(const ApplyOptions& options, const std::vector<std::string>& emulated,
                 Tunables before);

  // Deletes the journal if all its tunables are as they were. Otherwise returns the sentence that
  // says what to do. Throws NamespaceError.
  std::optional<std::string> End() const;

 private:
  std::optional<JournalFile> journal_;
};

}  // namespace devhost
