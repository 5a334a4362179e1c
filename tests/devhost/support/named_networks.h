#pragma once

#include <functional>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/file_descriptor.h"
#include "devhost/kaehost/kernel/tunables.h"

// New network namespaces with names, as `ip netns` makes them. Needs a PrivateRun, because the
// names lie in /run, and must be destroyed before it.
class NamedNetworks {
 public:
  explicit NamedNetworks(std::vector<std::string> names);
  ~NamedNetworks();
  NamedNetworks(const NamedNetworks&) = delete;
  NamedNetworks& operator=(const NamedNetworks&) = delete;

  // Does `act` in one of them.
  void In(const std::string& name, const std::function<void()>& act) const;

  // The value of a tunable there.
  std::string Value(const std::string& name, const std::string& tunable) const;

  // The tunables of all, the names before the paths.
  devhost::Tunables Read() const;

  // Returns {"--netns", name, ...}, and then these words.
  std::vector<std::string> Options(const std::vector<std::string>& words = {}) const;

 private:
  const std::vector<std::string> names_;
  const devhost::FileDescriptor home_;
};
