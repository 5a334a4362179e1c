// Interrupts its host in a request that fails.

#include <unistd.h>

#include <csignal>

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* /*content*/) override {
    kill(getppid(), SIGTERM);
    return request->SendError("no", "luck");
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
