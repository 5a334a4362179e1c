#include "tests/devhost/test_plugins/working_plugin.h"

namespace {

class Plugin : public PluginOf<WorkingLayer> {
 public:
  Plugin() { WriteTunable("ipv4/tcp_sack", "0"); }
  kaeCPLayer* GetNewLayer() override {
    WriteTunable("ipv4/tcp_fin_timeout", "15");
    return PluginOf<WorkingLayer>::GetNewLayer();
  }
} plugin;

}  // namespace

kaePlugin* this_kae_plugin = &plugin;
