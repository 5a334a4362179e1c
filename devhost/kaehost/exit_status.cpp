#include "devhost/kaehost/exit_status.h"

#include <new>
#include <system_error>

#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/plugin/plugin_error.h"
#include "devhost/kaehost/process/interruption.h"
#include "devhost/libe/document.h"

namespace devhost {

std::string SentenceOf(const std::exception& error) {
  const auto* system = dynamic_cast<const std::system_error*>(&error);
  const bool is_out_of_memory =
      dynamic_cast<const std::bad_alloc*>(&error) != nullptr ||
      (system != nullptr && system->code() == std::errc::not_enough_memory);
  return is_out_of_memory ? kOutOfMemory : error.what();
}

ExitStatus StatusFor(const std::exception& error, ExitStatus otherwise) {
  if (dynamic_cast<const DocumentError*>(&error) != nullptr) {
    return kBadInput;
  }
  if (dynamic_cast<const PluginError*>(&error) != nullptr) {
    return kNoPlugin;
  }
  if (const auto* interrupted = dynamic_cast<const Interrupted*>(&error)) {
    return static_cast<ExitStatus>(kSignalled + interrupted->signal());
  }
  return dynamic_cast<const NamespaceError*>(&error) != nullptr ? kNoNamespace : otherwise;
}

}  // namespace devhost
