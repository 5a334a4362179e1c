// Points to a part of its object.

#include "tests/devhost/test_plugins/working_plugin.h"

class Other {
 public:
  virtual ~Other() = default;
};

class Plugin : public Other, public WorkingPlugin {};

static Plugin plugin;
kaePlugin* this_kae_plugin = &plugin;
