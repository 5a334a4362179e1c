// Takes tunables away and brings one that was not there.

#include <sys/mount.h>

#include "tests/devhost/broken/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* /*content*/) override {
    mount("none", "/proc/sys/net/ipv4/neigh", "tmpfs", 0, nullptr);
    WriteTunable("ipv4/neigh/new", "1");
    return request->SendSuccess(nullptr);
  }
  void do_Release() override {
    umount("/proc/sys/net/ipv4/neigh");
    WorkingLayer::do_Release();
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
