#pragma once

#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/restore/journals.h"
#include "devhost/kaehost/text/json.h"

namespace devhost {

// Prints the journals. If `quiet`, only those that need attention.
void Tell(const std::vector<FoundJournal>& journals, bool quiet);

// Prints what was restored. If `quiet`, only what is not.
void Tell(const Restoration& result, bool quiet);

// Return the same as JSON.
Json ToJson(const std::vector<FoundJournal>& journals, int status);
Json ToJson(const Restoration& result, int status);

}  // namespace devhost
