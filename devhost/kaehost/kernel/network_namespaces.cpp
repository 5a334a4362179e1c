#include "devhost/kaehost/kernel/network_namespaces.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <map>
#include <system_error>
#include <utility>

#include "devhost/kaehost/kernel/namespaces.h"

namespace devhost {
namespace {

constexpr std::size_t kGroup = 10;

// Those of this process. Its parent can have left many, also as many as it may have.
rlim_t OpenFiles(const rlimit& limit) {
  std::error_code full;
  const std::filesystem::directory_iterator files("/proc/self/fd", full);
  return full ? limit.rlim_cur : static_cast<rlim_t>(std::distance(begin(files), end(files)));
}

// Each namespace needs one for itself and one for its journal, each group one for its mounts and
// two for folders.
void AllowOpenFiles(std::size_t namespaces) {
  constexpr std::size_t kOthers = 48;
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlim_t needed = OpenFiles(limit) + kOthers + 2 * namespaces + 3 * (namespaces / kGroup + 1);
  if (limit.rlim_max < needed) {
    throw NamespaceError(std::to_string(namespaces) + " network namespaces need " +
                         std::to_string(needed) + " open files, but this process can open only " +
                         std::to_string(limit.rlim_max) +
                         "; raise the hard limit (ulimit -Hn), or name fewer namespaces");
  }
  limit.rlim_cur = std::max(limit.rlim_cur, needed);
  setrlimit(RLIMIT_NOFILE, &limit);
}

FileDescriptor OpenOrThrow(const char* path, int flags) {
  FileDescriptor file(open(path, flags | O_CLOEXEC));
  if (file.get() < 0) {
    throw NamespaceError(std::string(path) + ": cannot open: " + std::strerror(errno) +
                         "; mount /proc, and work in a folder that this user can open");
  }
  return file;
}

std::pair<dev_t, ino_t> Identity(const FileDescriptor& file) {
  struct stat status = {};
  fstat(file.get(), &status);
  return {status.st_dev, status.st_ino};
}

// A /proc of its own must not make writable what the caller's /proc keeps read-only.
bool CanBeWritten() { return access("/proc/sys/net/ipv4/tcp_sack", W_OK) == 0; }

bool MountProc() {
  return mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) == 0;
}

}  // namespace

NetworkNamespaces::NetworkNamespaces(const std::vector<std::string>& names)
    : names_(names), home_network_(OpenOrThrow("/proc/self/ns/net", O_RDONLY)) {
  AllowOpenFiles(names.size());
  std::map<std::pair<dev_t, ino_t>, std::string> seen;
  for (const std::string& name : names) {
    networks_.push_back(OpenNetworkNamespace(name));
    const auto [former, is_new] = seen.emplace(Identity(networks_.back()), name);
    if (!is_new) {
      throw NamespaceError(former->second + " and " + name +
                           " are the same network namespace; name it once");
    }
  }
  MakeGroups();
}

NetworkNamespaces::Place NetworkNamespaces::CurrentPlace() {
  return {OpenOrThrow("/proc/self/ns/mnt", O_RDONLY), OpenOrThrow("/", O_PATH | O_DIRECTORY),
          OpenOrThrow(".", O_PATH | O_DIRECTORY)};
}

// If the first group can mount no /proc, it is the only one. Each group begins without the mounts
// of the others.
void NetworkNamespaces::MakeGroups() {
  bool has_own_proc = true;
  groups_.reserve(networks_.size() / kGroup + 1);
  for (std::size_t i = 0; i < networks_.size() && (i == 0 || has_own_proc); i += kGroup) {
    MoveTo(home_);
    TakeMountsApart();
    if (i == 0) {
      EnterNetworkNamespace(networks_[0], names_[0]);
      has_own_proc = CanBeWritten();
    }
    has_own_proc = has_own_proc && MountProc();
    if (i > 0 && !has_own_proc) {
      throw NamespaceError(std::string("cannot mount a proc file system on /proc: ") +
                           std::strerror(errno) + "; name fewer network namespaces");
    }
    groups_.push_back(CurrentPlace());
  }
  Leave();
}

// The mounts of a process can be changed only if no other thread shares its folders. To enter them
// also changes the root.
void NetworkNamespaces::MoveTo(const Place& place) {
  current_ = nullptr;
  if (unshare(CLONE_FS) != 0 || setns(place.mounts.get(), CLONE_NEWNS) != 0 ||
      fchdir(place.root.get()) != 0 || chroot(".") != 0 || fchdir(place.folder.get()) != 0) {
    throw NamespaceError(std::string("cannot enter a mount namespace: ") + std::strerror(errno) +
                         "; run as root");
  }
  current_ = &place;
}

void NetworkNamespaces::Enter(std::size_t number) {
  const Place& group = groups_[std::min(number / kGroup, groups_.size() - 1)];
  if (current_ != &group) {
    MoveTo(group);
  }
  EnterNetworkNamespace(networks_[number], names_[number]);
}

void NetworkNamespaces::Leave() {
  MoveTo(home_);
  if (setns(home_network_.get(), CLONE_NEWNET) != 0) {
    throw NamespaceError(std::string("cannot return to the network namespace: ") +
                         std::strerror(errno));
  }
}

}  // namespace devhost
