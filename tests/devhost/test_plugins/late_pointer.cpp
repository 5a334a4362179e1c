// Sets its pointer in a constructor.

#include "tests/devhost/test_plugins/working_plugin.h"

kaePlugin* this_kae_plugin = new WorkingPlugin;
