#pragma once

#include <string>
#include <vector>

#include "tests/model/scenario.h"

namespace model {

enum class Moment { kSnapshot, kRequest, kRollback, kRelease };

// One fault: opening the `index`-th file of the catalogue fails with `error`, at one moment only.
// At other moments, and for all other files, opening succeeds or the file is missing. One
// exception: a rollback needs another file that fails; it is a folder.
struct Fault {
  std::size_t index;
  int error;
  Moment moment;

  // The file, as "ipv4/tcp_sack".
  std::string File() const;

  // Whether opening a file can fail that way at that moment: an error only for writing cannot occur
  // in a snapshot.
  bool CanOccur() const;

  // The line that reports it.
  std::string Line() const;

  // A layer's life with this fault.
  Scenario Story() const;
};

// A line in the output of such a story that reports that `file` could not be opened.
struct Mention {
  Moment moment;
  std::string line;

  bool operator==(const Mention&) const = default;
};
std::vector<Mention> Mentions(const std::string& output, const std::string& file);

}  // namespace model
