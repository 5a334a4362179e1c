#pragma once

#include <vector>

#include "devhost/kaehost/kernel/tunables.h"
#include "devhost/kaehost/text/json.h"
#include "devhost/kaehost/text/table.h"

// Tunables that differ, as the commands show them.

namespace devhost {

Table TableOf(const std::vector<Change>& changes);

Json ToJson(const std::vector<Change>& changes);

}  // namespace devhost
