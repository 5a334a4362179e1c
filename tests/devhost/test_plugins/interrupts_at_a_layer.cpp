// Has its host interrupted when it is asked for the third layer, and waits.

#include <unistd.h>

#include <csignal>

#include "tests/devhost/test_plugins/working_plugin.h"

class Plugin : public WorkingPlugin {
 public:
  kaeCPLayer* GetNewLayer() override {
    if (++layers_ == 3) {
      kill(getppid(), SIGTERM);
      pause();
    }
    return new WorkingLayer;
  }

 private:
  int layers_ = 0;
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
