// Mounts a file that cannot be read over a tunable, and leaves it there.

#include <sys/mount.h>

#include "tests/devhost/test_plugins/working_plugin.h"

namespace {

class Plugin : public PluginOf<WorkingLayer> {
 public:
  kaeCPLayer* GetNewLayer() override {
    mount("/proc/self/mem", "/proc/sys/net/ipv4/tcp_sack", "none", MS_BIND, nullptr);
    return PluginOf<WorkingLayer>::GetNewLayer();
  }
} plugin;

}  // namespace

kaePlugin* this_kae_plugin = &plugin;
