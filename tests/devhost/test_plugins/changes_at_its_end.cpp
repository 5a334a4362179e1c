// Changes a tunable after the layer is released.

#include "tests/devhost/test_plugins/working_plugin.h"

class Plugin : public WorkingPlugin {
  void CleanupPlugin() override { WriteTunable("ipv4/tcp_sack", "0"); }
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
