// Its layers cannot be constructed, and say so with something that is not a std::exception.

#include "tests/devhost/test_plugins/working_plugin.h"

struct Odd {};

class Layer : public WorkingLayer {
 public:
  Layer() { throw Odd(); }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
