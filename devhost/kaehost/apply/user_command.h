#pragma once

#include <string>
#include <vector>

#include "devhost/kaehost/apply/interruption.h"

namespace devhost {

// Runs a program, which is looked for as a shell does it, to its end, and answers its status as a
// shell shows it: 127 for a program that is not there and 126 for one that cannot be run, which is
// told on standard error. It has standard input and output as this process has them, or, unless
// `to_standard_output`, standard error for its output.
int RunUserCommand(const std::vector<std::string>& words, Interruption& interruption,
                   bool to_standard_output);

}  // namespace devhost
