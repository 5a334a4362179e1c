#pragma once

#include <string>

#include "devhost/kaehost/inspect/facts.h"
#include "devhost/kaehost/text/json.h"

namespace devhost {

// Prints the facts about the plug-in at `path`.
void Tell(const std::string& path, const PluginFacts& facts);

// Returns the same as JSON.
Json ToJson(const std::string& path, const PluginFacts& facts);

}  // namespace devhost
