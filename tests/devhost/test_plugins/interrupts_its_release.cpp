// Has its host interrupted when all is done.

#include <unistd.h>

#include <csignal>

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  void do_Release() override {
    kill(getppid(), SIGTERM);
    WorkingLayer::do_Release();
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
