#include "devhost/kaehost/command.h"

#include "devhost/kaehost/plugin.h"
#include "devhost/kaehost/sandbox.h"
#include "devhost/libe/document.h"

namespace devhost {

ExitStatus StatusFor(const std::exception& error) {
  if (dynamic_cast<const DocumentError*>(&error) != nullptr) {
    return kBadInput;
  }
  if (dynamic_cast<const PluginError*>(&error) != nullptr) {
    return kNoPlugin;
  }
  return dynamic_cast<const NamespaceError*>(&error) != nullptr ? kNoSandbox : kFailed;
}

}  // namespace devhost
