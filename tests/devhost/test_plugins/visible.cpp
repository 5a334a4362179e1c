// Tells, as its version, to whom its symbols are visible.

#include <dlfcn.h>

#include "tests/devhost/test_plugins/working_plugin.h"

class Plugin : public WorkingPlugin {
  std::string GetVersion() const override {
    return dlsym(dlopen(nullptr, RTLD_NOW), "this_kae_plugin") == nullptr ? "none" : "everybody";
  }
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
