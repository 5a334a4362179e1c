#pragma once

#include <string>

#include "devhost/kaehost/apply/session_result.h"

namespace devhost {

// Answers the session as one JSON document. `progress` is what the plug-in printed, `status` what
// kaehost ends with.
std::string ToJson(const SessionResult& session, const std::string& progress, int status);

}  // namespace devhost
