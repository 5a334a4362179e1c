#pragma once

#include <string>

#include "devhost/kaehost/exit_status.h"

namespace devhost {

// Prints what a command prints with --json if it fails: the sentence and the exit status. Returns
// the status.
int PrintJsonFailure(const std::string& sentence, ExitStatus status);

// Prints why a command failed with a plug-in: the same with the plug-in's file, or without --json
// the sentence on standard error. Returns the status.
int TellPluginFailure(const std::string& plugin, bool json, const std::string& sentence,
                      ExitStatus status);

}  // namespace devhost
