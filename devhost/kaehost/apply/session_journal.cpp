#include "devhost/kaehost/apply/session_journal.h"

#include <filesystem>
#include <system_error>

namespace devhost {
namespace {

// A relative path would name another file where the user restores. A journal is read by lines.
std::string OptionFor(const std::string& netns) {
  std::error_code no_folder;
  const std::string path = std::filesystem::absolute(netns, no_folder);
  const bool is_path = netns.find('/') != std::string::npos;
  return "--netns " +
         (is_path && !no_folder && path.find('\n') == std::string::npos ? path : netns);
}

}  // namespace

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
  const std::string option = target.live ? "--live" : OptionFor(netns);
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
  return "the journal " + journal_->path() + " keeps the original values; to restore them, run '" +
         CommandToRestore(journal_->journal().option) + "'";
}

}  // namespace devhost
