#pragma once

#include <functional>

// System calls that fail with EIO, as those of a device that is gone.
enum class FailingCall {
  kWrite,  // every write to a file that is opened while no other is
  kClose,  // every close; the descriptor stays open
};

// Lets `act` go on in a child process in which `call` fails from its start, and answers the exit
// status that `act` ends with, or -1 when the child did not live that long. What it prints on
// standard output is flushed.
int RunWithFailing(FailingCall call, const std::function<int()>& act);
