// Has a layer that can be started, but not stopped.

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer, public kaeCPLayer::StartCB {
 public:
  void do_Start() override {}
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
