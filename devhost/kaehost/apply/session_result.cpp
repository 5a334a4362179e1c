#include "devhost/kaehost/apply/session_result.h"

#include "devhost/kaehost/exit_status.h"

namespace devhost {

bool NamespaceResult::IsAsAsked(bool strict) const {
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
  return std::all_of(requests.begin(), requests.end(), [&](const RequestResult& request) {
    return std::all_of(request.outcomes.begin(), request.outcomes.end(), is_as_asked);
  });
}

void NamespaceResult::RestoreTheRest(const Tunables& before) {
  Tunables after = ReadTunables();
  restored_by_kaehost = Compare(before, after);
  if (!restored_by_kaehost.empty()) {
    Restore(before);
    after = ReadTunables();
  }
  not_restored = Compare(before, after);
  unread = FindUnread(before, after);
  std::erase_if(restored_by_kaehost, [this](const Change& change) {
    return std::any_of(not_restored.begin(), not_restored.end(),
                       [&change](const Change& still) { return still.tunable == change.tunable; });
  });
}

NamespaceResult SessionResult::End() const {
  NamespaceResult all;
  for (const NamespaceResult& one : namespaces) {
    const std::string prefix = namespaces.size() > 1 ? one.where + ": " : "";
    const auto add = [&prefix](const auto& from, auto& to) {
      for (auto found : from) {
        found.tunable.insert(0, prefix);
        to.push_back(std::move(found));
      }
    };
    add(one.changed_by_others, all.changed_by_others);
    add(one.restored_by_kaehost, all.restored_by_kaehost);
    add(one.not_restored, all.not_restored);
    add(one.unread, all.unread);
    if (one.release_thrown && !all.release_thrown) {
      all.release_thrown = prefix + *one.release_thrown;
    }
  }
  return all;
}

int SessionResult::Status(bool strict) const {
  if (!is_released_well()) {
    return kFailed;
  }
  const bool is_as_asked =
      InAll([strict](const NamespaceResult& result) { return result.IsAsAsked(strict); });
  if (command_status) {
    return *command_status == 0 && !is_as_asked ? kNotAsAsked : *command_status;
  }
  if (!has_succeeded()) {
    return kFailed;
  }
  if (interrupted_by) {
    return kSignalled + *interrupted_by;
  }
  return is_as_asked ? kDone : kNotAsAsked;
}

}  // namespace devhost
