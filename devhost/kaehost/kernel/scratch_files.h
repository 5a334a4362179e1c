#pragma once

#include <string>
#include <vector>

namespace devhost {

// Whether the file exists but refuses to be written.
bool RefusesToBeWritten(const std::string& path);

// Answers those of the kernel files `paths` that exist but refuse to be written, after laying a
// writable scratch file with the same contents over each. Needs mounts of its own. Throws
// NamespaceError.
std::vector<std::string> MakeWritable(const std::vector<std::string>& paths);

// Lays a view over /proc/sys/net/ipv4 and /proc/sys/net/core in which every file of the catalogue
// is there: the kernel's own, and scratch files with the plug-in's defaults for those that it does
// not have, whose names below /proc/sys/net it answers. Needs a private namespace. Throws
// NamespaceError.
std::vector<std::string> ShowWholeCatalogue();

}  // namespace devhost
