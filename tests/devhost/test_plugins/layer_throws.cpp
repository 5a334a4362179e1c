// Its layers cannot be constructed.

#include <stdexcept>

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  Layer() { throw std::runtime_error("no memory for a layer"); }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
