// Changes tunables, one outside the catalogue among them, and leaves them changed after its
// release.

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* /*content*/) override {
    WriteTunable("ipv4/tcp_sack", "0");
    WriteTunable("ipv4/ip_local_port_range", "40000 50000");
    WriteTunable("ipv4/tcp_keepalive_time", "5");
    WriteTunable("ipv4/ip_forward", "1");
    return request->SendSuccess(nullptr);
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
