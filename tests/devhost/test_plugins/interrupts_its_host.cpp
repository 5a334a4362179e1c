// Has its host interrupted in the middle of a request, as an impatient operator does it.

#include <unistd.h>

#include <csignal>

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* /*content*/) override {
    kill(getppid(), SIGTERM);
    return request->SendSuccess(nullptr);
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
