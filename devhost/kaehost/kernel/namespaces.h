#pragma once

#include <stdexcept>
#include <string>

#include "devhost/kaehost/kernel/file_descriptor.h"

namespace devhost {

// A namespace cannot be created or entered, or a plug-in cannot be tried in it. what() is the
// reason and what to do.
class NamespaceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Moves the calling process into a private user, network and mount namespace, as its root. If root
// cannot create a user namespace, as in a chroot, it is a network and mount namespace only. Then
// only this process and its children use this /proc/sys/net, and the rest of /proc/sys is
// read-only, except a user namespace's own limits in /proc/sys/user: the machine's own tunables are
// out of reach. The process must have one thread only. Throws NamespaceError.
void EnterPrivateNamespace();

// Returns the path of a network namespace. `name` is a name of `ip netns`, or, if it contains a
// slash, a path.
std::string NetworkNamespacePath(const std::string& name);

// Opens an existing network namespace. `name` is a name of `ip netns`, or, if it contains a slash,
// a path. It must not be the one that the process is in, nor that of process 1: those are the
// machine's own. Throws NamespaceError.
FileDescriptor OpenNetworkNamespace(const std::string& name);

// Moves the calling thread into the network namespace that was opened by this name. Throws
// NamespaceError.
void EnterNetworkNamespace(const FileDescriptor& network, const std::string& name);

// Opens it and moves the calling thread into it. Throws NamespaceError.
void EnterNetworkNamespace(const std::string& name);

// Moves the calling process into a private mount namespace. It must have one thread only. A private
// namespace includes it, and a network namespace rarely needs it, so it is a separate function: it
// takes time. Throws NamespaceError.
void TakeMountsApart();

// Brings up the loopback interface of this network namespace. Throws NamespaceError.
void BringLoopbackUp();

}  // namespace devhost
