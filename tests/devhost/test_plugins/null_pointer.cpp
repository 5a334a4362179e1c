// Exports the name, but points nowhere.

#include "host/kae.h"

kaePlugin* this_kae_plugin = nullptr;
