// Ends the process as if all were well.

#include <cstdlib>

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* /*request*/, const kaml_content* /*content*/) override {
    Tell("do_Configure");
    std::exit(EXIT_SUCCESS);
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
