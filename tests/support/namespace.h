#pragma once

// Tells on standard error that what this program is there for was not tested, and why. Answers the
// exit status for it: ctest's mark of a skipped test, or a failure where CI is "true".
int Skip(const char* why);

// Moves the process into a private namespace, out of reach of the machine's own tunables, and ends
// it if it is still in the machine's. Throws devhost::NamespaceError where there is none to be had.
void EnterPrivateNamespace();
