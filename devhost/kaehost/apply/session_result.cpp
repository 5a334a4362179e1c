#include "devhost/kaehost/apply/session_result.h"

#include "devhost/kaehost/exit_status.h"

namespace devhost {

void SessionResult::RestoreTheRest(const Tunables& before) {
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

int SessionResult::Status(bool strict) const {
  if (release_thrown || plugin_ended || !restored_by_kaehost.empty() || !may_be_restored()) {
    return kFailed;
  }
  const bool is_as_asked = std::all_of(
      requests.begin(), requests.end(),
      [this, strict](const RequestResult& request) { return IsAsAsked(request, strict); });
  if (command_status) {
    return *command_status == 0 && !is_as_asked ? kNotAsAsked : *command_status;
  }
  if (!has_succeeded()) {
    return kFailed;
  }
  if (interrupted_by) {
    constexpr int kSignalled = 128;
    return kSignalled + *interrupted_by;
  }
  return is_as_asked ? kDone : kNotAsAsked;
}

}  // namespace devhost
