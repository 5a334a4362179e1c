// Throws an exception of its own making while it is initialised.

#include <exception>

#include "tests/devhost/test_plugins/working_plugin.h"

class OwnException : public std::exception {
  const char* what() const noexcept override { return "no luck"; }
};

class Plugin : public WorkingPlugin {
  bool InitPlugin() override { throw OwnException(); }
};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
