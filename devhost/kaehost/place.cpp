#include "devhost/kaehost/place.h"

#include <fcntl.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "devhost/kaehost/sandbox.h"
#include "devhost/kaehost/whole_catalogue.h"

namespace devhost {
namespace {

constexpr const char* kTunables = "/proc/sys/net/";
constexpr const char* kCoreFiles[] = {"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"};

// Opening alone changes no tunable.
void RefuseWhereNothingCanBeWritten(const Place& place) {
  const std::string path = std::string(kTunables) + "ipv4/tcp_sack";
  const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  const int error = errno;
  close(fd);
  if (fd >= 0) {
    return;
  }
  std::string advice = "; see whether the kernel shows its tunables there";
  if (error == EROFS) {
    advice =
        "; /proc/sys is mounted read-only, as in most containers: start the container with a "
        "writable one";
  } else if (error == EACCES || error == EPERM) {
    advice = place.live ? "; the machine's own tunables take root: run as root, or leave out "
                          "--live to try the documents in a private namespace"
                        : "; run as root of the network namespace";
  }
  throw NamespaceError(path + " cannot be written here: " + std::strerror(error) + advice);
}

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text;
}

}  // namespace

std::vector<std::string> Enter(const Place& place) {
  if (place.IsPrivate()) {
    EnterPrivateNamespace();
  } else if (!place.live) {
    EnterNetworkNamespace(place.netns);
  }
  RefuseWhereNothingCanBeWritten(place);
  const bool needs_scratch_files =
      !place.live && !place.as_is &&
      std::any_of(std::begin(kCoreFiles), std::end(kCoreFiles), RefusesToBeWritten);
  if (!place.IsPrivate() && (place.whole_catalogue || needs_scratch_files)) {
    TakeMountsApart();
  }
  std::vector<std::string> emulated;
  if (place.whole_catalogue) {
    emulated = ShowWholeCatalogue();
  }
  if (needs_scratch_files || place.whole_catalogue) {
    for (const std::string& path : MakeWritable({std::begin(kCoreFiles), std::end(kCoreFiles)})) {
      emulated.push_back(path.substr(std::strlen(kTunables)));
    }
  }
  return emulated;
}

std::string Description(const Place& place, const std::vector<std::string>& emulated) {
  if (place.live) {
    return "LIVE: the tunables of this machine itself are written, until they are put back";
  }
  return (place.IsPrivate()
              ? "in a private namespace; the machine's own tunables are out of reach"
              : "in the network namespace " + place.netns + "; its tunables will be put back") +
         (emulated.empty() ? "" : "; emulated by scratch files: " + Joined(emulated));
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
    throw NamespaceError(std::string("the loopback interface cannot be brought up: ") +
                         std::strerror(error) + "; a command cannot be tried here");
  }
}

}  // namespace devhost
