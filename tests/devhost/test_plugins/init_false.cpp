// Answers that it is not ready.

#include "tests/devhost/test_plugins/working_plugin.h"

class Plugin : public WorkingPlugin {
  bool InitPlugin() override { return false; }
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
