#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/apply/outcomes.h"
#include "devhost/kaehost/kernel/tunables.h"
#include "devhost/kaehost/plugin/layer_process.h"

// What `kaehost apply` finds out, for its reports.

namespace devhost {

struct RequestResult {
  std::string document;
  LayerReply reply;
  std::vector<Outcome> outcomes;

  bool has_succeeded() const { return reply.reply == Reply::kSuccess && !reply.thrown; }
};

struct SessionResult {
  std::string where;                  // "private", "live", or the network namespace's name
  std::vector<std::string> emulated;  // files below /proc/sys/net that scratch files emulate
  // Files that could not be given the values of the machine, when the private namespace began.
  std::vector<std::string> not_copied;
  std::string plugin;  // name and version
  std::vector<RequestResult> requests;
  std::optional<int> interrupted_by;  // a signal that came before the end
  std::optional<int> command_status;  // of the user's command
  std::optional<std::string> release_thrown;
  std::optional<std::string> plugin_ended;  // how and during what the plug-in's process ended
  // What somebody else wrote after the last request; `before` is what was there then.
  std::vector<Change> changed_by_others;
  std::vector<Change> restored_by_kaehost;  // what the plug-in left changed and kaehost restored
  std::vector<Change> not_restored;         // what is still changed after that
  std::vector<Unread> unread;  // tunables of which nobody knows whether they are restored
  std::optional<std::string> journal_kept;  // the journal's path, if it is not deleted at the end

  // Whether all requests have succeeded.
  bool has_succeeded() const {
    return std::all_of(requests.begin(), requests.end(),
                       [](const RequestResult& request) { return request.has_succeeded(); });
  }

  // Whether all tunables are restored that this user can ever read.
  bool may_be_restored() const {
    return not_restored.empty() &&
           std::all_of(unread.begin(), unread.end(), [](const Unread& u) { return u.is_refused; });
  }

  // Whether the kernel was seen to have each requested value of which there is a file; if `strict`,
  // whether the kernel itself has all of them.
  bool IsAsAsked(const RequestResult& request, bool strict) const {
    const auto is_as_asked = [&](const Outcome& outcome) {
      switch (outcome.fate) {
        case Fate::kRejected:
        case Fate::kAdjusted:
        case Fate::kUnread:
          return false;
        case Fate::kMissing:
        case Fate::kMachineOnly:
          return !strict;
        default:
          return !strict || !outcome.asked || !IsEmulated(*outcome.entry);
      }
    };
    return std::all_of(request.outcomes.begin(), request.outcomes.end(), is_as_asked);
  }

  // Restores what the plug-in left changed, and finds out what became of it.
  void RestoreTheRest(const Tunables& before);

  // Returns the exit status of a session that came to its end.
  int Status(bool strict) const;

  bool IsEmulated(const CatalogueEntry& entry) const {
    return std::find(emulated.begin(), emulated.end(), entry.file) != emulated.end();
  }
};

}  // namespace devhost
