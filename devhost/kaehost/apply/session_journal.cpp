#include "devhost/kaehost/apply/session_journal.h"

namespace devhost {

SessionJournal::SessionJournal(const ApplyOptions& options, const std::string& netns,
                               const std::vector<std::string>& emulated, Tunables& before) {
  const TargetNamespace& target = options.target;
  if (target.IsPrivate()) {
    return;
  }
  if (options.no_journal) {
    before = ReadTunables();
    return;
  }
  const std::string option = target.live ? "--live" : "--netns " + netns;
  const JournalFolder folder = JournalFolder::OpenOrCreate();
  about_former_ = folder.EndFormerSession(option);
  before = ReadTunables();
  Tunables kept = before;
  for (const std::string& name : emulated) {
    kept.erase(name);
  }
  journal_.emplace(folder.Write(option, kept));
}

void SessionJournal::Abandon() const {
  if (journal_) {
    journal_->Remove();
  }
}

std::optional<std::string> SessionJournal::End() const {
  if (!journal_) {
    return std::nullopt;
  }
  if (DifferencesFrom(journal_->journal()).empty()) {
    journal_->Remove();
    return std::nullopt;
  }
  return "the journal " + journal_->path() + " keeps the original values; to restore them, run " +
         "'kaehost restore " + journal_->journal().option + "'";
}

}  // namespace devhost
