// Fails when there is nothing left to fail.

#include <stdexcept>

#include "tests/devhost/test_plugins/working_plugin.h"

class Plugin : public WorkingPlugin {
  void CleanupPlugin() override { throw std::runtime_error("too late"); }
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
