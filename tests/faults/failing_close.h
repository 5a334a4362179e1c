#pragma once

#include <functional>

// Lets `act` go on in a child process in which every close fails with EIO, as those of a device
// that is gone, and leaves the descriptor open. Answers the exit status that `act` ends with, or -1
// when the child did not live that long. What it prints on standard output is flushed.
int RunWithFailingClose(const std::function<int()>& act);
