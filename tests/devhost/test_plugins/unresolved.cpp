// Calls a function that nobody has.

#include "tests/devhost/test_plugins/working_plugin.h"

extern "C" void nobody_has_this();

class Plugin : public WorkingPlugin {
  void CleanupPlugin() override { nobody_has_this(); }
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
