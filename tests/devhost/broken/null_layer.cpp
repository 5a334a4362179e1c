// Answers no layer.

#include "tests/devhost/broken/working_plugin.h"

class Plugin : public WorkingPlugin {
  kaeCPLayer* GetNewLayer() override { return nullptr; }
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
