// The plug-in that works, as it is.

#include "tests/devhost/broken/working_plugin.h"

static WorkingPlugin plugin;
kaePlugin* this_kae_plugin = &plugin;
