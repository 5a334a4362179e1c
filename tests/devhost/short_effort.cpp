#include "tests/devhost/support/effort.h"

const int kKills = 20;
const bool kHasAllTests = false;
