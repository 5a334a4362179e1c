#pragma once

#include "devhost/kaehost/text/json.h"

namespace devhost {

// Prints the facts about a plug-in for people.
void Tell(const Json& facts);

}  // namespace devhost
