#pragma once

#include <stdexcept>
#include <string>

namespace devhost {

// No private namespace is to be had, or not one in which a plug-in can be tried; what() says why
// and what to do.
class NamespaceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Moves the calling process into a private user, network and mount namespace, as its root, or,
// where a new user namespace is refused to root (inside a chroot), into a network and mount
// namespace. From then on /proc/sys/net belongs to this process and its children alone, and the
// rest of /proc/sys is read-only, but for a user namespace's own limits in /proc/sys/user: the
// machine's own tunables are out of reach. The process must have one thread only. Throws
// NamespaceError.
void EnterPrivateNamespace();

// Moves the calling process into an existing network namespace: one of `ip netns`, by its name, or
// whatever a path (a text with a slash) leads to. The process must have one thread only. Throws
// NamespaceError.
void EnterNetworkNamespace(const std::string& name);

// Gives the calling process, which must have one thread only, mounts of its own. Takes time, a
// private namespace has them, and a network namespace mostly does without. Throws NamespaceError.
void TakeMountsApart();

// Lets the loopback interface of this network namespace work. Throws NamespaceError.
void BringLoopbackUp();

}  // namespace devhost
