#pragma once

#include <string>
#include <vector>

#include "tests/model/scenario.h"

namespace model {

enum class Moment { kSnapshot, kRequest, kRollback, kRelease };

// One fault: opening the catalogue's `index`-th file fails with `error` at one moment only. Before
// and after, and for every other file, opening goes well or meets a missing file; only a rollback
// needs another failing file, which is another one's folder.
struct Fault {
  std::size_t index;
  int error;
  Moment moment;

  // The file, as "ipv4/tcp_sack".
  std::string File() const;

  // Whether opening a file can fail that way at that moment: what forbids only writing lets a
  // snapshot pass.
  bool CanOccur() const;

  // The line that tells of it.
  std::string Line() const;

  // A layer's life with it.
  Scenario Story() const;
};

// Where the output of such a story mentions `file` as one that could not be opened, and how.
struct Mention {
  Moment moment;
  std::string line;

  bool operator==(const Mention&) const = default;
};
std::vector<Mention> Mentions(const std::string& output, const std::string& file);

}  // namespace model
