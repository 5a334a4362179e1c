// Throws an exception that has no text.

#include <exception>

#include "tests/devhost/test_plugins/working_plugin.h"

class Silent : public std::exception {
  const char* what() const noexcept override { return nullptr; }
};

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* /*request*/, const kaml_content* /*content*/) override {
    throw Silent();
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
