#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/apply/outcomes.h"
#include "devhost/kaehost/kernel/tunables.h"
#include "devhost/libe/request.h"

// What `kaehost apply` finds out, from which it tells what happened.

namespace devhost {

struct RequestResult {
  std::string document;
  Request request;
  std::optional<std::string> thrown;  // what do_Configure threw, if it did not come back
  std::vector<Outcome> outcomes;

  bool has_succeeded() const { return request.reply() == Reply::kSuccess && !thrown; }

  // Whether the kernel has each value that was asked for, as far as it has the file.
  bool is_as_asked() const {
    return std::none_of(outcomes.begin(), outcomes.end(), [](const Outcome& outcome) {
      return outcome.fate == Fate::kRejected || outcome.fate == Fate::kAdjusted;
    });
  }
};

struct SessionResult {
  std::string where;                  // "private", "live", or the network namespace's name
  std::vector<std::string> emulated;  // files below /proc/sys/net that a scratch file stands in for
  std::string plugin;                 // name and version
  std::vector<RequestResult> requests;
  std::optional<int> interrupted_by;  // a signal that came before all was done
  std::optional<int> command_status;  // of the command that was run under the settings
  std::optional<std::string> release_thrown;
  std::vector<Change> not_restored;

  bool IsEmulated(const CatalogueEntry& entry) const {
    return std::find(emulated.begin(), emulated.end(), entry.file) != emulated.end();
  }
};

}  // namespace devhost
