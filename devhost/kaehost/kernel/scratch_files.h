#pragma once

#include <string>
#include <vector>

namespace devhost {

// Throws NamespaceError if the tunables of this network namespace cannot be written, as in a
// container. Opening alone changes no tunable. `if_denied` says what to do without the right to.
void RefuseWhereNothingCanBeWritten(const std::string& if_denied);

// Returns whether the file exists but cannot be opened for writing.
bool RefusesToBeWritten(const std::string& path);

// Mounts a writable scratch file with the same contents over each of the kernel files `paths` that
// exists but cannot be opened for writing. Returns these paths. Needs a private mount namespace.
// Throws NamespaceError.
std::vector<std::string> MakeWritable(const std::vector<std::string>& paths);

// Mounts a view over /proc/sys/net/ipv4 and /proc/sys/net/core that has every file of the
// catalogue: the kernel's own files, and scratch files with the plug-in's defaults for missing
// ones. Returns the names of the scratch files below /proc/sys/net. Needs a private namespace.
// Throws NamespaceError.
std::vector<std::string> ShowWholeCatalogue();

}  // namespace devhost
