#include "devhost/kaehost/exit_status.h"

#include <new>

#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/plugin/plugin_error.h"
#include "devhost/libe/document.h"

namespace devhost {

std::string SentenceOf(const std::exception& error) {
  return dynamic_cast<const std::bad_alloc*>(&error) != nullptr ? kOutOfMemory : error.what();
}

ExitStatus StatusFor(const std::exception& error) {
  if (dynamic_cast<const DocumentError*>(&error) != nullptr) {
    return kBadInput;
  }
  if (dynamic_cast<const PluginError*>(&error) != nullptr) {
    return kNoPlugin;
  }
  return dynamic_cast<const NamespaceError*>(&error) != nullptr ? kNoNamespace : kFailed;
}

}  // namespace devhost
