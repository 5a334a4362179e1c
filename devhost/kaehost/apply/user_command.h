#pragma once

#include <string>
#include <vector>

#include "devhost/kaehost/process/interruption.h"

namespace devhost {

// Runs a program to its end. Like a shell, searches PATH for it and returns its status: 127 if
// there is no such program, 126 if it cannot be run. Standard error then has the reason. The
// program has the standard input and output of this process. If `to_standard_output` is false, its
// output goes to standard error.
int RunUserCommand(const std::vector<std::string>& words, Interruption& interruption,
                   bool to_standard_output);

}  // namespace devhost
