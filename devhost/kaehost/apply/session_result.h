#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/apply/outcomes.h"
#include "devhost/kaehost/kernel/tunables.h"
#include "devhost/libe/request.h"

// What `kaehost apply` finds out, for its reports.

namespace devhost {

struct RequestResult {
  std::string document;
  Request request;
  std::optional<std::string> thrown;  // what do_Configure threw, if it threw
  std::vector<Outcome> outcomes;

  bool has_succeeded() const { return request.reply() == Reply::kSuccess && !thrown; }

  // Whether the kernel has each requested value of which it has the file.
  bool is_as_asked() const {
    return std::none_of(outcomes.begin(), outcomes.end(), [](const Outcome& outcome) {
      return outcome.fate == Fate::kRejected || outcome.fate == Fate::kAdjusted;
    });
  }
};

struct SessionResult {
  std::string where;                  // "private", "live", or the network namespace's name
  std::vector<std::string> emulated;  // files below /proc/sys/net that scratch files emulate
  std::string plugin;                 // name and version
  std::vector<RequestResult> requests;
  std::optional<int> interrupted_by;  // a signal that came before the end
  std::optional<int> command_status;  // of the user's command
  std::optional<std::string> release_thrown;
  std::vector<Change> not_restored;

  bool IsEmulated(const CatalogueEntry& entry) const {
    return std::find(emulated.begin(), emulated.end(), entry.file) != emulated.end();
  }
};

}  // namespace devhost
