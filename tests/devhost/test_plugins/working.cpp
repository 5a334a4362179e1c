// The plug-in that works, as it is.

#include "tests/devhost/test_plugins/working_plugin.h"

static WorkingPlugin plugin;
kaePlugin* this_kae_plugin = &plugin;
