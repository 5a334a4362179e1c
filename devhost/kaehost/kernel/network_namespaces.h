#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/file_descriptor.h"

namespace devhost {

// Many existing network namespaces, for a process that works in one after the other, and for those
// that it forks. Below one /proc, the kernel compares the entries of all namespaces one by one. So
// each group of ten gets a mount namespace with a new /proc, if this user can mount one.
class NetworkNamespaces {
 public:
  // Opens all of them; `names` are as in EnterNetworkNamespace. Raises the limit of open files for
  // that. Refuses a namespace that is named twice. The process must have one thread only. Throws
  // NamespaceError.
  explicit NetworkNamespaces(const std::vector<std::string>& names);

  // Moves the calling process into one of them, from 0. If it has several threads, only the calling
  // one is moved. Throws NamespaceError.
  void Enter(std::size_t number);

 private:
  struct Place {
    FileDescriptor mounts;
    FileDescriptor root;
    FileDescriptor folder;
  };

  static Place CurrentPlace();
  void MoveTo(const Place& place);
  void MakeGroups();
  void Leave();

  const std::vector<std::string>& names_;
  std::vector<FileDescriptor> networks_;
  FileDescriptor home_network_;
  Place home_ = CurrentPlace();
  std::vector<Place> groups_;
  const Place* current_ = &home_;
};

}  // namespace devhost
