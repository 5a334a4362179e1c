// Answers no layer.

#include "tests/devhost/test_plugins/working_plugin.h"

class Plugin : public WorkingPlugin {
  kaeCPLayer* GetNewLayer() override { return nullptr; }
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
