// A plug-in, but one that makes no layers.

#include "tests/devhost/test_plugins/working_plugin.h"

class Plugin : public kaePlugin {
  std::string GetName() const override { return "no factory"; }
  std::string GetVersion() const override { return "1"; }
  bool InitPlugin() override { return true; }
  void CleanupPlugin() override { Tell("CleanupPlugin"); }
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
