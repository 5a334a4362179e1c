#pragma once

#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/journal.h"
#include "devhost/kaehost/kernel/tunables.h"

// The journals that sessions left, and restoring from them.

namespace devhost {

struct FoundJournal {
  enum State {
    kLeft,     // its session ended without restoring
    kInUse,    // its session has not ended
    kRefused,  // it cannot be used
  };

  std::string file;
  State state = kLeft;
  std::string sentence;            // why it is in use or refused
  std::optional<Journal> journal;  // if it is left
  long long age = 0;               // seconds since the start of its session
  std::string option;              // that leads to its namespace; empty if that is not found
  std::vector<Change> differs;     // from the journal now
};

struct Restoration {
  std::optional<FoundJournal> journal;  // none if the namespace has none
  std::vector<Change> not_restored;
};

// Returns all journals with what differs from each. Throws NamespaceError.
std::vector<FoundJournal> FindJournals();

// Writes the values of the journal of this network namespace to the tunables that differ, and
// deletes the journal if none differs then. Throws NamespaceError.
Restoration RestoreFromJournal();

}  // namespace devhost
