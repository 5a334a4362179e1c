// Interrupts its host before the first request.

#include <unistd.h>

#include <csignal>

#include "tests/devhost/test_plugins/working_plugin.h"

class Plugin : public WorkingPlugin {
  kaeCPLayer* GetNewLayer() override {
    kill(getppid(), SIGTERM);
    return WorkingPlugin::GetNewLayer();
  }
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
