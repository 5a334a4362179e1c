// Answers a request with success, and then throws.

#include <stdexcept>

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* /*content*/) override {
    Tell("do_Configure");
    request->SendSuccess(nullptr);
    throw std::runtime_error("no memory for a value");
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
