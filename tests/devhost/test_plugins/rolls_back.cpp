// Changes a tunable in its first request. Fails in the second one and restores the tunable.

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* /*content*/) override {
    is_first_ = !is_first_;
    WriteTunable("ipv4/tcp_sack", is_first_ ? "0" : "1");
    return is_first_ ? request->SendSuccess(nullptr) : request->SendError("no", "luck");
  }

 private:
  bool is_first_ = false;
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
