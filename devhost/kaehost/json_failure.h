#pragma once

#include <string>

#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/text/json.h"

namespace devhost {

// Prints what a command prints with --json if it fails: the sentence, the facts `about` what it
// worked on, if any, and the exit status. Returns the status.
int PrintJsonFailure(const std::string& sentence, ExitStatus status);
int PrintJsonFailure(const std::string& sentence, ExitStatus status, const Json& about);

}  // namespace devhost
