#include "devhost/kaehost/apply/target_namespace.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/kernel/scratch_files.h"

namespace devhost {
namespace {

constexpr const char* kTunables = "/proc/sys/net/";
constexpr const char* kCoreFiles[] = {"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"};

// Scratch files, or a sentence that also says which option needs none.
template <class Lay>
std::vector<std::string> OrAdvise(Lay lay, const char* advice) {
  try {
    return lay();
  } catch (const NamespaceError& error) {
    throw NamespaceError(error.what() + std::string("; ") + advice);
  }
}

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text;
}

bool NeedsScratchFiles(const TargetNamespace& target) {
  return !target.live && !target.as_is &&
         std::any_of(std::begin(kCoreFiles), std::end(kCoreFiles), RefusesToBeWritten);
}

// Returns the emulated files.
std::vector<std::string> Emulate(const TargetNamespace& target, bool needs_scratch_files) {
  std::vector<std::string> emulated;
  if (target.whole_catalogue) {
    emulated = OrAdvise(ShowWholeCatalogue, "leave out --whole-catalogue");
  }
  if (needs_scratch_files || target.whole_catalogue) {
    const auto make_writable = [] {
      return MakeWritable({std::begin(kCoreFiles), std::end(kCoreFiles)});
    };
    for (const std::string& path : OrAdvise(make_writable, "use --as-is to leave it read-only")) {
      emulated.push_back(path.substr(std::strlen(kTunables)));
    }
  }
  return emulated;
}

void RefuseToWriteNothing(const TargetNamespace& target) {
  RefuseWhereNothingCanBeWritten(
      target.live ? "run as root, or leave out --live to try the documents in a private namespace"
                  : "run as root of the network namespace");
}

// Returns the emulated files.
std::vector<std::string> Move(const TargetNamespace& target) {
  if (target.IsPrivate()) {
    EnterPrivateNamespace();
  } else if (!target.live) {
    EnterNetworkNamespace(target.netns.front());
  }
  RefuseToWriteNothing(target);
  const bool needs_scratch_files = NeedsScratchFiles(target);
  if (!target.IsPrivate() && (target.whole_catalogue || needs_scratch_files)) {
    TakeMountsApart();
  }
  return Emulate(target, needs_scratch_files);
}

}  // namespace

// The others are written first: the kernel checks some values of the catalogue against them.
Entered Enter(const TargetNamespace& target, const Tunables& machine, bool has_others_inside) {
  const bool copies = target.IsPrivate() && !target.initial_values;
  const bool copies_others = copies && has_others_inside;
  Entered entered;
  const Tunables others = copies_others ? ReadOtherTunables() : Tunables();
  entered.emulated = Move(target);
  if (!target.IsPrivate()) {
    return entered;
  }
  entered.before = ReadTunables();
  if (copies_others) {
    Tunables here = ReadOtherTunables();
    entered.not_copied = StartFrom(others, here);
  }
  if (copies) {
    const std::vector<std::string> more = StartFrom(machine, entered.before);
    entered.not_copied.insert(entered.not_copied.end(), more.begin(), more.end());
  }
  return entered;
}

Entered Prepare(const TargetNamespace& target, const std::string& netns) try {
  RefuseToWriteNothing(target);
  Entered entered;
  entered.emulated = Emulate(target, NeedsScratchFiles(target));
  return entered;
} catch (const NamespaceError& error) {
  throw NamespaceError(netns + ": " + error.what());
}

std::vector<std::string> Description(const TargetNamespace& target,
                                     const std::vector<std::string>& emulated,
                                     const std::vector<std::string>& not_copied) {
  if (target.live) {
    return {"LIVE: writes the tunables of this machine itself, until they are restored"};
  }
  std::vector<std::string> lines = {
      target.IsPrivate() ? std::string("in a private namespace") +
                               (target.initial_values ? " with the kernel's initial values" : "") +
                               "; the machine's own tunables are out of reach"
      : target.netns.size() == 1
          ? "in the network namespace " + target.netns.front() + "; its tunables will be restored"
          : "in " + std::to_string(target.netns.size()) +
                " network namespaces; their tunables will be restored"};
  if (!emulated.empty()) {
    lines.push_back("emulated by scratch files: " + Joined(emulated));
  }
  if (!not_copied.empty()) {
    lines.push_back("not as on the machine at the start: " + Joined(not_copied));
  }
  return lines;
}

}  // namespace devhost
