#include "devhost/kaehost/kernel/journal_checks.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "devhost/kaehost/kernel/namespaces.h"

namespace devhost {
namespace {

constexpr mode_t kOthersCanWrite = S_IWGRP | S_IWOTH;
constexpr mode_t kOthersCanOpen = S_IRWXG | S_IRWXO;

}  // namespace

void RefuseForeign(const std::string& path, const std::string& what) {
  throw NamespaceError(path + ": " + what +
                       "; kaehost did not make it so; find out who did, then delete it");
}

void CheckFolder(const std::string& path, int folder) {
  if (folder < 0) {
    throw NamespaceError(
        path + ": cannot open this folder: " + std::strerror(errno) +
        (errno == EACCES ? "; run as root" : "; find out who made it, then delete it"));
  }
  struct stat status = {};
  fstat(folder, &status);
  if (status.st_uid != geteuid()) {
    RefuseForeign(path, "belongs to user " + std::to_string(status.st_uid));
  }
  if ((status.st_mode & kOthersCanWrite) != 0) {
    RefuseForeign(path, "other users can write this folder");
  }
}

void CheckFile(const std::string& path, const struct stat& status) {
  if (!S_ISREG(status.st_mode)) {
    RefuseForeign(path, "not a regular file");
  }
  if (status.st_uid != geteuid()) {
    RefuseForeign(path, "belongs to user " + std::to_string(status.st_uid));
  }
  if ((status.st_mode & kOthersCanOpen) != 0) {
    RefuseForeign(path, "other users can open this file");
  }
  if (status.st_nlink > 1) {
    RefuseForeign(path, "has another hard link");
  }
  if (status.st_size > static_cast<off_t>(kLongestJournal)) {
    RefuseForeign(path, "longer than any journal");
  }
}

}  // namespace devhost
