// Takes tunables away, one of them with another in its place, and leaves it at that.

#include <sys/mount.h>

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* /*content*/) override {
    mount("none", "/proc/sys/net/ipv4", "tmpfs", 0, nullptr);
    WriteTunable("ipv4/tcp_fin_timeout", "1");
    return request->SendSuccess(nullptr);
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
