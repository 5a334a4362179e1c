#pragma once

#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/file_descriptor.h"
#include "devhost/kaehost/kernel/journal.h"
#include "devhost/kaehost/kernel/namespaces.h"

// The journals of sessions on tunables that outlive kaehost (--live, --netns): one file for each
// network namespace, in /run/kaehost. A session locks its file until the last of its processes
// ends. So a file that is not locked is of a session that ended without removing it.

namespace devhost {

// A session that still runs has the journal.
class JournalInUse : public NamespaceError {
 public:
  using NamespaceError::NamespaceError;
};

// Returns the command, for a shell, that restores the tunables after a session with this option.
std::string CommandToRestore(const std::string& option);

// A journal that this process has locked. Processes that it forks have the lock too.
class JournalFile {
 public:
  JournalFile(std::string path, FileDescriptor file, Journal journal)
      : path_(std::move(path)), file_(std::move(file)), journal_(std::move(journal)) {}

  const std::string& path() const { return path_; }
  const Journal& journal() const { return journal_; }

  // Deletes it: all tunables are restored. Throws NamespaceError.
  void Remove() const;

 private:
  std::string path_;
  FileDescriptor file_;
  Journal journal_;
};

// The folder. During the lifetime of this object, no other process creates or opens a journal in
// it. Each function throws NamespaceError.
class JournalFolder {
 public:
  // Returns none if there is no folder.
  static std::optional<JournalFolder> Open(const std::string& path = "/run/kaehost");

  static JournalFolder OpenOrCreate(const std::string& path = "/run/kaehost");

  // Returns the names of all journals, sorted.
  std::vector<std::string> Names() const;

  // Returns the name of the journal of the calling thread's network namespace.
  static std::string NameHere();

  std::string PathOf(const std::string& name) const { return path_ + '/' + name; }

  // Returns the journal of a session that has ended, none if there is no such file. Throws
  // JournalInUse if the session has not ended.
  std::optional<JournalFile> Read(const std::string& name) const;

  // Makes sure that no session has the tunables of this namespace or left them changed: the
  // sentence of the exception says what to do. Deletes the journal of a session that was killed, if
  // no tunable differs from it, and returns a sentence about that. `option` is that of a session
  // that starts now: "--live", or "--netns " and the name or path.
  std::optional<std::string> EndFormerSession(const std::string& option) const;

  // Writes the journal of this namespace, whole and to the disk. There must be none.
  JournalFile Write(const std::string& option, const Tunables& before) const;

 private:
  JournalFolder(std::string path, FileDescriptor folder);

  std::string path_;
  FileDescriptor folder_;
};

}  // namespace devhost
