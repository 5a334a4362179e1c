// Does not know its version.

#include "tests/devhost/test_plugins/working_plugin.h"

class Plugin : public WorkingPlugin {
  std::string GetVersion() const override { throw 1; }
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
