#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/apply/options.h"
#include "devhost/kaehost/apply/session_namespace.h"
#include "devhost/kaehost/apply/session_result.h"
#include "devhost/kaehost/apply/text_report.h"
#include "devhost/kaehost/kernel/network_namespaces.h"
#include "devhost/kaehost/plugin/layer_process.h"
#include "devhost/kaehost/process/interruption.h"

namespace devhost {

// The namespaces of a session: one, in which the process then stays, or several existing network
// namespaces, which it enters one after the other. It never returns to that in which kaehost was
// started: a plug-in can write tunables whenever it has control.
class SessionNamespaces {
 public:
  // Enters them and begins their journals. If one is refused, or a signal comes in between, no
  // journal stays. `results` gets what is found out in each; it must outlive this object. Throws
  // NamespaceError and Interrupted.
  SessionNamespaces(const ApplyOptions& options, const Report& report, Interruption& interruption,
                    std::deque<NamespaceResult>& results);

  std::size_t count() const { return namespaces_.size(); }
  SessionNamespace& operator[](std::size_t number) { return namespaces_[number]; }

  // Moves this process there. Throws NamespaceError.
  SessionNamespace& MoveTo(std::size_t number);

  // Calls `act` for each. What it throws for one is thrown after all others. `step` is a word on
  // it, for a terminal.
  void ForEach(const std::string& step, const std::function<void(std::size_t number)>& act) const;

  // Calls `act` in each, in the same way.
  void InEach(const std::string& step, const std::function<void(SessionNamespace& here)>& act);

  // The same namespaces for the layers' process.
  LayerPlaces places();

  // Ends all journals. `tell` gets a sentence for each that stays.
  void EndJournals(const std::function<void(const std::string& sentence)>& tell);

 private:
  void BeginInOne(const Report& report);
  void BeginInSeveral(const Report& report, Interruption& interruption);
  void BeginHere(const std::string& where, Entered entered);
  void Abandon();

  const ApplyOptions& options_;
  std::deque<NamespaceResult>& results_;
  const bool shows_progress_;
  Tunables machine_;
  std::optional<NetworkNamespaces> networks_;  // if there are several
  std::vector<SessionNamespace> namespaces_;
};

}  // namespace devhost
