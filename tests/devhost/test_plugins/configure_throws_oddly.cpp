// Changes a tunable and throws what is no std::exception; its release puts the tunable back.

#include "tests/devhost/test_plugins/working_plugin.h"

struct Odd {};

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* /*request*/, const kaml_content* /*content*/) override {
    WriteTunable("ipv4/tcp_sack", "0");
    throw Odd();
  }
  void do_Release() override {
    WriteTunable("ipv4/tcp_sack", "1");
    WorkingLayer::do_Release();
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
