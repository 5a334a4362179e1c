#include "devhost/kaehost/apply/session_namespaces.h"

#include <exception>
#include <set>
#include <utility>

#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/text/progress.h"

namespace devhost {

SessionNamespaces::SessionNamespaces(const ApplyOptions& options, const Report& report,
                                     Interruption& interruption,
                                     std::deque<NamespaceResult>& results)
    : options_(options),
      results_(results),
      shows_progress_(!options.quiet && options.target.netns.size() > 1),
      machine_(ReadTunables()) {
  if (options.target.netns.size() > 1) {
    BeginInSeveral(report, interruption);
  } else {
    BeginInOne(report);
  }
}

void SessionNamespaces::BeginHere(const std::string& where, Entered entered) {
  NamespaceResult& result = results_.emplace_back();
  result.where = where;
  namespaces_.emplace_back(options_, std::move(entered), machine_, result);
}

void SessionNamespaces::BeginInOne(const Report& report) {
  const TargetNamespace& target = options_.target;
  Entered entered = Enter(target, machine_, options_.HasOthersInside());
  for (const std::string& line : Description(target, entered.emulated, entered.not_copied)) {
    report.Tell(line);
  }
  BeginHere(target.live          ? "live"
            : target.IsPrivate() ? "private"
                                 : target.netns.front(),
            std::move(entered));
  if (const auto& about_former = namespaces_.front().journal().about_former()) {
    report.Tell(*about_former);
  }
}

void SessionNamespaces::BeginInSeveral(const Report& report, Interruption& interruption) {
  const std::vector<std::string>& names = options_.target.netns;
  networks_.emplace(names);
  namespaces_.reserve(names.size());
  std::set<std::string> emulated;
  std::vector<std::string> about_former;
  Progress progress("reading the tunables", shows_progress_ ? names.size() : 0);
  try {
    for (std::size_t i = 0; i < names.size(); ++i) {
      interruption.ThrowIfCame();
      networks_->Enter(i);
      Entered entered = Prepare(options_.target, names[i]);
      emulated.insert(entered.emulated.begin(), entered.emulated.end());
      BeginHere(names[i], std::move(entered));
      if (const auto& sentence = namespaces_.back().journal().about_former()) {
        about_former.push_back(*sentence);
      }
      progress.Advance();
    }
  } catch (...) {
    Abandon();
    throw;
  }
  for (const std::string& line :
       Description(options_.target, {emulated.begin(), emulated.end()}, {})) {
    report.Tell(line);
  }
  report.TellSome(about_former);
}

// Nothing was written to the tunables yet.
void SessionNamespaces::Abandon() {
  for (const SessionNamespace& one : namespaces_) {
    one.journal().Abandon();
  }
}

SessionNamespace& SessionNamespaces::MoveTo(std::size_t number) {
  if (networks_) {
    networks_->Enter(number);
  }
  return namespaces_[number];
}

void SessionNamespaces::ForEach(const std::string& step,
                                const std::function<void(std::size_t number)>& act) const {
  std::exception_ptr thrown;
  Progress progress(step, shows_progress_ ? count() : 0);
  for (std::size_t i = 0; i < count(); ++i) {
    try {
      act(i);
    } catch (...) {
      thrown = thrown ? thrown : std::current_exception();
    }
    progress.Advance();
  }
  if (thrown) {
    std::rethrow_exception(thrown);
  }
}

void SessionNamespaces::InEach(const std::string& step,
                               const std::function<void(SessionNamespace& here)>& act) {
  ForEach(step, [&](std::size_t number) { act(MoveTo(number)); });
}

LayerPlaces SessionNamespaces::places() {
  if (!networks_) {
    return {};
  }
  return {count(), [this](std::size_t place) { networks_->Enter(place); }};
}

void SessionNamespaces::EndJournals(const std::function<void(const std::string& sentence)>& tell) {
  InEach("deleting the journals", [&tell](SessionNamespace& here) {
    if (const std::optional<std::string> sentence = here.EndJournal()) {
      tell(*sentence);
    }
  });
}

}  // namespace devhost
