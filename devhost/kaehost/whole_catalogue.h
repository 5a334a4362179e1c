#pragma once

#include <string>
#include <vector>

namespace devhost {

// Lays a view over /proc/sys/net/ipv4 and /proc/sys/net/core in which every file of the catalogue
// is there: the kernel's own, and scratch files with the plug-in's defaults for those that it does
// not have, whose names below /proc/sys/net it answers. Needs a private namespace. Throws
// NamespaceError.
std::vector<std::string> ShowWholeCatalogue();

}  // namespace devhost
