// Prints the journals that there are when it is loaded.

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "tests/devhost/test_plugins/working_plugin.h"

namespace {

const bool shown = [] {
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator("/run/kaehost", none)) {
    std::printf("when loaded: %s\n", entry.path().c_str());
  }
  return true;
}();

WorkingPlugin plugin;

}  // namespace

kaePlugin* this_kae_plugin = &plugin;
