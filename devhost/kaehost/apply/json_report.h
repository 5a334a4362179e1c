#pragma once

#include <string>

#include "devhost/kaehost/apply/session_result.h"

namespace devhost {

// Returns the session as one JSON document. `progress` is what the plug-in printed, `status` the
// exit status.
std::string ToJson(const SessionResult& session, const std::string& progress, int status);

}  // namespace devhost
