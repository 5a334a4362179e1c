#pragma once

#include <algorithm>
#include <deque>
#include <functional>
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

// In one namespace.
struct NamespaceResult {
  std::string where;                  // "private", "live", or the network namespace's name
  std::vector<std::string> emulated;  // files below /proc/sys/net that scratch files emulate
  // Files that could not be given the values of the machine, when the private namespace began.
  std::vector<std::string> not_copied;
  std::vector<RequestResult> requests;
  std::optional<std::string> release_thrown;
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

  // Whether the layer itself has restored all that.
  bool is_released_well() const {
    return !release_thrown && restored_by_kaehost.empty() && may_be_restored();
  }

  // Whether the kernel was seen to have each requested value of which there is a file; if `strict`,
  // whether the kernel itself has all of them.
  bool IsAsAsked(bool strict) const;

  // Restores what the plug-in left changed, and finds out what became of it.
  void RestoreTheRest(const Tunables& before);

  bool IsEmulated(const CatalogueEntry& entry) const {
    return std::find(emulated.begin(), emulated.end(), entry.file) != emulated.end();
  }
};

struct SessionResult {
  std::string plugin;                       // name and version
  std::deque<NamespaceResult> namespaces;   // others refer to them while more are added
  std::optional<int> interrupted_by;        // a signal that came before the end
  std::optional<int> command_status;        // of the user's command
  std::optional<std::string> plugin_ended;  // how and during what the plug-in's process ended

  // Whether this holds in all namespaces.
  bool InAll(const std::function<bool(const NamespaceResult&)>& condition) const {
    return std::all_of(namespaces.begin(), namespaces.end(), condition);
  }
  bool has_succeeded() const { return InAll(&NamespaceResult::has_succeeded); }

  // Whether the request has succeeded wherever it was delivered.
  bool has_succeeded(std::size_t request) const {
    return InAll([request](const NamespaceResult& result) {
      return result.requests.size() <= request || result.requests[request].has_succeeded();
    });
  }

  bool is_released_well() const {
    return !plugin_ended && InAll(&NamespaceResult::is_released_well);
  }

  // Returns what was found out at the end in all namespaces. If there are several, the names of
  // tunables begin with that of the namespace.
  NamespaceResult End() const;

  // Returns the exit status of a session that came to its end.
  int Status(bool strict) const;
};

}  // namespace devhost
