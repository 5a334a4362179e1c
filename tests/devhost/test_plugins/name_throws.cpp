// Does not know its name.

#include <stdexcept>

#include "tests/devhost/test_plugins/working_plugin.h"

class Plugin : public WorkingPlugin {
  std::string GetName() const override { throw std::runtime_error("nameless"); }
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
