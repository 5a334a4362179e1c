// Cannot finish its release, but has freed what it had.

#include <stdexcept>

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  void do_Release() override {
    WorkingLayer::do_Release();
    throw std::runtime_error("cannot restore");
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
