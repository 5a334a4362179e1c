// Its layers cannot be configured.

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public kaeCPLayer, public kaeCPLayer::ReleaseCB {
 public:
  ~Layer() override { Tell("layer destroyed"); }
  void do_Release() override { delete this; }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
