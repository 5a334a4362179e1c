// Interrupts its host by two signals in a request, one after the other.

#include <unistd.h>

#include <csignal>

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* /*content*/) override {
    kill(getppid(), SIGHUP);
    usleep(100'000);
    kill(getppid(), SIGTERM);
    return request->SendSuccess(nullptr);
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
