#include "devhost/kaehost/restore/journals.h"

#include <fcntl.h>
#include <sched.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>

#include "devhost/kaehost/kernel/file_descriptor.h"
#include "devhost/kaehost/kernel/journal_folder.h"
#include "devhost/kaehost/kernel/namespaces.h"

namespace fs = std::filesystem;

namespace devhost {
namespace {

constexpr std::string_view kNetns = "--netns ";

FoundJournal Left(const JournalFile& file) {
  FoundJournal found;
  found.file = file.path();
  found.journal = file.journal();
  found.age = std::max(0LL, Uptime() - file.journal().uptime);
  return found;
}

// The namespaces that could be the journal's: the one that the session was told, and all names.
std::vector<std::string> Candidates(const Journal& journal) {
  std::vector<std::string> names;
  if (journal.option.starts_with(kNetns)) {
    names.push_back(journal.option.substr(kNetns.size()));
  }
  std::error_code no_names;
  for (const auto& entry : fs::directory_iterator("/run/netns", no_names)) {
    names.push_back(entry.path().filename());
  }
  return names;
}

bool IsNamespaceOf(const Journal& journal, const std::string& name) try {
  return NetworkAt(NetworkNamespacePath(name)) == journal.network;
} catch (const NamespaceError&) {
  return false;  // it ended
}

// Moves the calling thread into a network namespace during the lifetime of this object.
class Visit {
 public:
  explicit Visit(const std::string& name) { EnterNetworkNamespace(name); }
  ~Visit() { setns(home_.get(), CLONE_NEWNET); }
  Visit(const Visit&) = delete;
  Visit& operator=(const Visit&) = delete;

 private:
  const FileDescriptor home_{open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC)};
};

void CompareHere(const std::string& option, FoundJournal* found) {
  RefuseOtherNamespace(*found->journal, found->file);
  found->option = option;
  found->differs = DifferencesFrom(*found->journal);
}

void CompareWithNamespace(FoundJournal* found) {
  const Journal& journal = *found->journal;
  if (journal.network == NetworkAt()) {
    CompareHere("--live", found);
    return;
  }
  const std::vector<std::string> names = Candidates(journal);
  const auto name = std::find_if(names.begin(), names.end(), [&](const std::string& candidate) {
    return IsNamespaceOf(journal, candidate);
  });
  if (name != names.end()) {
    const Visit visit(*name);
    CompareHere(std::string(kNetns) + *name, found);
  }
}

FoundJournal Refused(const std::string& file, FoundJournal::State state, const char* sentence) {
  FoundJournal found;
  found.file = file;
  found.state = state;
  found.sentence = sentence;
  return found;
}

std::optional<FoundJournal> Find(const JournalFolder& folder, const std::string& name) try {
  const std::optional<JournalFile> file = folder.Read(name);
  if (!file) {
    return std::nullopt;
  }
  FoundJournal found = Left(*file);
  CompareWithNamespace(&found);
  return found;
} catch (const JournalInUse& error) {
  return Refused(folder.PathOf(name), FoundJournal::kInUse, error.what());
} catch (const NamespaceError& error) {
  return Refused(folder.PathOf(name), FoundJournal::kRefused, error.what());
}

}  // namespace

std::vector<FoundJournal> FindJournals() {
  std::vector<FoundJournal> found;
  if (const auto folder = JournalFolder::Open()) {
    for (const std::string& name : folder->Names()) {
      if (std::optional<FoundJournal> journal = Find(*folder, name)) {
        found.push_back(std::move(*journal));
      }
    }
  }
  return found;
}

Restoration RestoreFromJournal() {
  Restoration result;
  const auto folder = JournalFolder::Open();
  const auto file = folder ? folder->Read(JournalFolder::NameHere()) : std::nullopt;
  if (!file) {
    return result;
  }
  RefuseOtherNamespace(file->journal(), file->path());
  result.journal = Left(*file);
  result.journal->differs = DifferencesFrom(file->journal());
  Restore(WantedBy(file->journal(), ReadTunables()));
  result.not_restored = DifferencesFrom(file->journal());
  if (result.not_restored.empty()) {
    file->Remove();
  }
  return result;
}

}  // namespace devhost
