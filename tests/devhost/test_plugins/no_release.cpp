// Its layers cannot be released.

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public kaeCPLayer, public kaeCPLayer::ConfigureCB {
 public:
  ~Layer() override { Tell("layer destroyed"); }
  bool do_Configure(kaeRequest* request, const kaml_content* /*content*/) override {
    return request->SendSuccess(nullptr);
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
