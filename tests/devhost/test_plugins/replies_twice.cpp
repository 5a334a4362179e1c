// Answers with success and thinks better of it.

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* /*content*/) override {
    Tell(request->SendSuccess(nullptr) ? "taken" : "refused");
    Tell(request->SendError("second", "thoughts") ? "taken" : "refused");
    return true;
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
