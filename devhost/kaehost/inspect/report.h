#pragma once

#include <string>

#include "devhost/kaehost/inspect/facts.h"
#include "devhost/kaehost/text/json.h"

namespace devhost {

// Tells people on standard output what the plug-in at `path` is.
void Tell(const std::string& path, const PluginFacts& facts);

// Answers the same as a JSON document.
Json ToJson(const std::string& path, const PluginFacts& facts);

}  // namespace devhost
