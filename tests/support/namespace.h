#pragma once

// Reports on standard error that this test is skipped, and why. Returns the exit status for it:
// ctest's status for a skipped test, or a failure if CI is "true".
int Skip(const char* why);

// Moves the process into a private namespace, where it cannot reach the machine's own tunables.
// Ends the process if it is still in the machine's namespace. Throws devhost::NamespaceError if it
// cannot create a private namespace.
void EnterPrivateNamespace();
