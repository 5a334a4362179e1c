// Replies with an error, and then with another one.

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* /*content*/) override {
    request->SendError("first", "one");
    return request->SendError("second", "two");
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
