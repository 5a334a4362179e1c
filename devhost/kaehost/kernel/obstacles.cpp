#include "devhost/kaehost/kernel/obstacles.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "devhost/kaehost/kernel/file_descriptor.h"

namespace devhost {
namespace {

constexpr OpenError kErrors[] = {
    {"EACCES",  EACCES },
    {"EIO",     EIO    },
    {"EISDIR",  EISDIR },
    {"ELOOP",   ELOOP  },
    {"EMFILE",  EMFILE },
    {"ENOENT",  ENOENT },
    {"ENOTDIR", ENOTDIR},
    {"ENXIO",   ENXIO  },
    {"EROFS",   EROFS  },
};

std::string FolderOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

[[noreturn]] void Refuse() {
  throw std::system_error(errno, std::generic_category(), "cannot put an obstacle there");
}

// Removes the mount at the path at its end.
class Unmount {
 public:
  explicit Unmount(std::string path) : path_(std::move(path)) {}
  ~Unmount() { umount2(path_.c_str(), MNT_DETACH); }
  Unmount(const Unmount&) = delete;
  Unmount& operator=(const Unmount&) = delete;

 private:
  const std::string path_;
};

// This thread obeys the modes of files, also as root.
int WithoutOverride(const std::function<int()>& open) {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct former[_LINUX_CAPABILITY_U32S_3] = {};
  syscall(SYS_capget, &header, former);
  __user_cap_data_struct less[] = {former[0], former[1]};
  less[0].effective &= ~((1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH));
  syscall(SYS_capset, &header, less);
  const int result = open();
  syscall(SYS_capset, &header, former);
  return result;
}

int WithoutDescriptors(const std::function<int()>& open) {
  rlimit former = {};
  getrlimit(RLIMIT_NOFILE, &former);
  const rlimit none = {0, former.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const int result = open();
  setrlimit(RLIMIT_NOFILE, &former);
  return result;
}

// In a folder of the kernel, unlike elsewhere, opening a missing file for writing does not create
// it.
int WithoutFile(const std::string& path, const std::function<int()>& open) {
  const std::string folder = FolderOf(path);
  if (mount("/proc/sys/kernel", folder.c_str(), nullptr, MS_BIND | MS_REC, nullptr) != 0) {
    Refuse();
  }
  const Unmount at_end(folder);
  return open();
}

// A remount has to keep the flags that /proc may have.
int ReadOnly(const std::string& path, const std::function<int()>& open) {
  struct statvfs status = {};
  if (statvfs(path.c_str(), &status) != 0 ||
      mount(path.c_str(), path.c_str(), nullptr, MS_BIND, nullptr) != 0) {
    Refuse();
  }
  const Unmount at_end(path);
  const auto kept = status.f_flag & (ST_NOSUID | ST_NODEV | ST_NOEXEC);
  const unsigned long flags = MS_BIND | MS_REMOUNT | MS_RDONLY | kept;
  if (mount(nullptr, path.c_str(), nullptr, flags, nullptr) != 0) {
    Refuse();
  }
  return open();
}

// Makes a pseudoterminal and closes its controlling side, so that the other side, which is at
// `path` then, cannot be opened.
int MakeDeadTerminal(const std::string& path) {
  const std::string terminals = FolderOf(path) + "/terminals";
  if (mkdir(terminals.c_str(), 0700) != 0 ||
      mount("devpts", terminals.c_str(), "devpts", 0, "newinstance,ptmxmode=0600") != 0) {
    return -1;
  }
  const FileDescriptor terminal(open((terminals + "/ptmx").c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  return terminal.get() < 0 || mknod(path.c_str(), S_IFREG, 0) != 0
             ? -1
             : mount((terminals + "/0").c_str(), path.c_str(), nullptr, MS_BIND, nullptr);
}

// Instead of the file, there is something that cannot be opened.
int OpenOther(int error, const std::string& path, const std::function<int()>& open) {
  const std::string place = error == ENOTDIR ? FolderOf(path) : path;
  const std::string folder = FolderOf(place);
  if (mount("tmpfs", folder.c_str(), "tmpfs", 0, nullptr) != 0) {
    Refuse();
  }
  const Unmount at_end(folder);
  const char* name = place.c_str();
  const int result = error == EIO      ? MakeDeadTerminal(place)
                     : error == EISDIR ? mkdir(name, 0700)
                     : error == ELOOP  ? symlink(name, name)
                     : error == ENXIO  ? mknod(name, S_IFSOCK | 0600, 0)
                                       : mknod(name, S_IFREG, 0);
  if (result != 0) {
    Refuse();
  }
  return error == EACCES ? WithoutOverride(open) : open();
}

}  // namespace

std::span<const OpenError> OpenErrors() { return kErrors; }

int OpenBehindObstacle(int error, const std::string& path, const std::function<int()>& open) {
  switch (error) {
    case EMFILE:
      return WithoutDescriptors(open);
    case ENOENT:
      return WithoutFile(path, open);
    case EROFS:
      return ReadOnly(path, open);
    default:
      return OpenOther(error, path, open);
  }
}

}  // namespace devhost
