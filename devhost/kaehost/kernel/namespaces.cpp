#include "devhost/kaehost/kernel/namespaces.h"

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "devhost/kaehost/kernel/file_descriptor.h"

namespace devhost {
namespace {

[[noreturn]] void Refuse(const std::string& why) {
  throw NamespaceError(
      "cannot create a private network namespace: " + why +
      "; run as root, or enable user namespaces (if they exist, sysctl "
      "kernel.unprivileged_userns_clone=1 and kernel.apparmor_restrict_unprivileged_userns=0)");
}

// A kind of namespace, and the file that says how many of it a user may have.
struct Kind {
  int flag;
  const char* name;
  const char* limit;
  const char* other_way;
};

constexpr const char* kEndSome = "end processes that have such namespaces";
constexpr Kind kUser = {CLONE_NEWUSER, "user", "/proc/sys/user/max_user_namespaces", "run as root"};
constexpr Kind kNetwork = {CLONE_NEWNET, "private network", "/proc/sys/user/max_net_namespaces",
                           kEndSome};
constexpr Kind kMounts = {CLONE_NEWNS, "mount", "/proc/sys/user/max_mnt_namespaces", kEndSome};

// The kernel's own words would be "No space left on device".
void RefuseAtLimit(const Kind& kind) {
  if (unshare(kind.flag) != 0 && errno == ENOSPC) {
    throw NamespaceError(std::string("cannot create a ") + kind.name +
                         " namespace: there are as many as the kernel allows; raise " + kind.limit +
                         " (on the machine too, if this is a container), or " + kind.other_way);
  }
}

// After both ways have failed. Only one namespace after the other shows which of them is one too
// many.
[[noreturn]] void RefusePrivateNamespace(int with_user_namespace, int without) {
  if (without != ENOSPC) {
    RefuseAtLimit(kUser);
  }
  RefuseAtLimit(kNetwork);
  RefuseAtLimit(kMounts);
  Refuse(std::string("unshare: ") + std::strerror(with_user_namespace) +
         "; without a user namespace: " + std::strerror(without));
}

void WriteProcFile(const std::string& path, const std::string& text) {
  const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (fd < 0 || write(fd, text.data(), text.size()) < 0) {
    Refuse(path + ": " + std::strerror(errno));
  }
  close(fd);
}

// All later mounts are below /proc and must not reach other mount namespaces.
void MakeMountsPrivate() {
  if (mount("none", "/proc", "none", MS_REC | MS_PRIVATE, nullptr) != 0) {
    Refuse(std::string("mounting /proc as private: ") + std::strerror(errno));
  }
}

void BindOnItself(const char* folder) {
  if (mount(folder, folder, "none", MS_BIND | MS_REC, nullptr) != 0) {
    Refuse(std::string("binding ") + folder + ": " + std::strerror(errno));
  }
}

// The kernel lets root, also root of a user namespace, write the machine's own tunables in all
// other folders of /proc/sys. The user's command can try to do so.
void ProtectOtherTunables(bool has_user_namespace) {
  BindOnItself("/proc/sys/net");
  if (has_user_namespace) {
    BindOnItself("/proc/sys/user");
  }
  BindOnItself("/proc/sys");
  struct statvfs found = {};
  statvfs("/proc/sys", &found);
  const unsigned long kept =
      found.f_flag & (MS_NOSUID | MS_NODEV | MS_NOEXEC);  // they can be locked
  if (mount("none", "/proc/sys", "none", MS_BIND | MS_REMOUNT | MS_RDONLY | kept, nullptr) != 0) {
    Refuse(std::string("making /proc/sys read-only: ") + std::strerror(errno));
  }
}

// Whether the file is the namespace to which the path leads. Only some users can follow the path of
// another process.
bool IsNamespaceOf(const char* path, int file) {
  struct stat one = {};
  struct stat other = {};
  return stat(path, &one) == 0 && fstat(file, &other) == 0 && one.st_ino == other.st_ino &&
         one.st_dev == other.st_dev;
}

[[noreturn]] void CannotEnter(const std::string& path) {
  throw NamespaceError("cannot enter the network namespace " + path + ": " + std::strerror(errno) +
                       "; list the namespaces by 'ip netns list', and run as root");
}

void RefuseMachinesOwn(const std::string& path, int file) {
  if (IsNamespaceOf("/proc/self/ns/net", file)) {
    throw NamespaceError(path + ": this network namespace is the machine's own, in which kaehost " +
                         "was started; use --live to change its tunables");
  }
  if (IsNamespaceOf("/proc/1/ns/net", file)) {
    throw NamespaceError(path + ": this network namespace is the machine's own, that of process " +
                         "1; start kaehost there and use --live to change its tunables");
  }
}

}  // namespace

void EnterPrivateNamespace() {
  const std::string uid = std::to_string(geteuid());
  const std::string gid = std::to_string(getegid());
  const bool has_user_namespace = unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS) == 0;
  if (has_user_namespace) {
    WriteProcFile("/proc/self/setgroups", "deny");
    WriteProcFile("/proc/self/uid_map", "0 " + uid + " 1");
    WriteProcFile("/proc/self/gid_map", "0 " + gid + " 1");
  } else {
    const int with_user_namespace = errno;
    if (unshare(CLONE_NEWNET | CLONE_NEWNS) != 0) {
      RefusePrivateNamespace(with_user_namespace, errno);
    }
  }
  MakeMountsPrivate();
  ProtectOtherTunables(has_user_namespace);
}

std::string NetworkNamespacePath(const std::string& name) {
  return name.find('/') == std::string::npos ? "/run/netns/" + name : name;
}

FileDescriptor OpenNetworkNamespace(const std::string& name) {
  const std::string path = NetworkNamespacePath(name);
  FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (file.get() < 0) {
    CannotEnter(path);
  }
  RefuseMachinesOwn(path, file.get());
  return file;
}

void EnterNetworkNamespace(const FileDescriptor& network, const std::string& name) {
  if (setns(network.get(), CLONE_NEWNET) != 0) {
    CannotEnter(NetworkNamespacePath(name));
  }
}

void EnterNetworkNamespace(const std::string& name) {
  EnterNetworkNamespace(OpenNetworkNamespace(name), name);
}

void TakeMountsApart() {
  if (unshare(CLONE_NEWNS) != 0) {
    const int error = errno;
    RefuseAtLimit(kMounts);
    throw NamespaceError(std::string("cannot create a mount namespace: ") + std::strerror(error) +
                         "; run as root");
  }
  MakeMountsPrivate();
}

void BringLoopbackUp() {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq request = {};
  std::strcpy(request.ifr_name, "lo");
  const bool is_up = fd >= 0 && ioctl(fd, SIOCGIFFLAGS, &request) == 0 &&
                     (request.ifr_flags |= IFF_UP, ioctl(fd, SIOCSIFFLAGS, &request) == 0);
  const int error = errno;
  close(fd);
  if (!is_up) {
    throw NamespaceError(std::string("cannot bring the loopback interface up: ") +
                         std::strerror(error) + "; leave out --hold, or the command after '--'");
  }
}

}  // namespace devhost
