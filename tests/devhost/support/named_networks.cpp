#include "tests/devhost/support/named_networks.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>

#include <cerrno>
#include <exception>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace {

const std::string kFolder = "/run/netns/";

int Opened(const std::string& path) { return open(path.c_str(), O_RDONLY | O_CLOEXEC); }

void OrThrow(int result, const std::string& what) {
  if (result != 0) {
    throw std::system_error(errno, std::generic_category(), what);
  }
}

}  // namespace

NamedNetworks::NamedNetworks(std::vector<std::string> names)
    : names_(std::move(names)), home_(Opened("/proc/self/ns/net")) {
  std::filesystem::create_directory(kFolder);
  for (const std::string& name : names_) {
    const std::string file = kFolder + name;
    std::ofstream{file};
    OrThrow(unshare(CLONE_NEWNET), "a new network namespace");
    OrThrow(mount("/proc/self/ns/net", file.c_str(), nullptr, MS_BIND, nullptr), file);
  }
  OrThrow(setns(home_.get(), CLONE_NEWNET), "the test's network namespace");
}

NamedNetworks::~NamedNetworks() {
  for (const std::string& name : names_) {
    umount2((kFolder + name).c_str(), MNT_DETACH);
  }
}

void NamedNetworks::In(const std::string& name, const std::function<void()>& act) const {
  const devhost::FileDescriptor file(Opened(kFolder + name));
  OrThrow(setns(file.get(), CLONE_NEWNET), name);
  act();
  if (setns(home_.get(), CLONE_NEWNET) != 0) {
    std::terminate();  // the next test would be in the wrong namespace
  }
}

std::string NamedNetworks::Value(const std::string& name, const std::string& tunable) const {
  std::string value;
  In(name, [&] { std::getline(std::ifstream("/proc/sys/net/" + tunable), value); });
  return value;
}

devhost::Tunables NamedNetworks::Read() const {
  devhost::Tunables all;
  for (const std::string& name : names_) {
    In(name, [&] {
      for (const auto& [tunable, reading] : devhost::ReadTunables()) {
        all[name + ' ' + tunable] = reading;
      }
    });
  }
  return all;
}

std::vector<std::string> NamedNetworks::Options(const std::vector<std::string>& words) const {
  std::vector<std::string> options;
  for (const std::string& name : names_) {
    options.insert(options.end(), {"--netns", name});
  }
  options.insert(options.end(), words.begin(), words.end());
  return options;
}
