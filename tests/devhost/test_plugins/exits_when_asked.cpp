// Ends the process when it is asked for a layer, as if all were well.

#include <cstdlib>

#include "tests/devhost/test_plugins/working_plugin.h"

class Plugin : public WorkingPlugin {
  kaeCPLayer* GetNewLayer() override { std::exit(EXIT_SUCCESS); }
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
