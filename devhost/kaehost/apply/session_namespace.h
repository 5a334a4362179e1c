#pragma once

#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/apply/options.h"
#include "devhost/kaehost/apply/session_journal.h"
#include "devhost/kaehost/apply/session_result.h"
#include "devhost/kaehost/apply/target_namespace.h"

namespace devhost {

// A namespace of a session: the values that its tunables had, their journal, and what the session
// finds out there. This process must be in the namespace when one of these functions is called.
class SessionNamespace {
 public:
  // Begins the journal, before a plug-in is loaded. `machine` are the tunables of the namespace in
  // which kaehost was started. `result`, which has a name already, gets what this object finds out.
  // Both must outlive this object. Throws NamespaceError.
  SessionNamespace(const ApplyOptions& options, Entered entered, const Tunables& machine,
                   NamespaceResult& result);

  const std::string& where() const { return result_.where; }
  const SessionJournal& journal() const { return journal_; }

  // What a layer replied to the document `name`, which asks for that, and what the kernel has now.
  void AddRequest(const std::string& name, const Asked& asked, LayerReply reply);

  // Finds out what others have changed since the last request.
  void FindOthersChanges() { result_.changed_by_others = Compare(written_, ReadTunables()); }

  // What the layer's do_Release threw, if it threw.
  void NoteRelease(std::optional<std::string> thrown) {
    result_.release_thrown = std::move(thrown);
  }

  void RestoreTheRest() { result_.RestoreTheRest(before_); }

  // Deletes the journal if all its tunables are as they were. Otherwise returns the sentence that
  // says what to do. Throws NamespaceError.
  std::optional<std::string> EndJournal();

 private:
  const Tunables& machine_;
  Tunables before_;
  NamespaceResult& result_;
  SessionJournal journal_;
  Tunables written_;  // after the last request
};

}  // namespace devhost
