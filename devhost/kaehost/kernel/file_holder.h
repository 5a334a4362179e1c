#pragma once

#include <sys/stat.h>
#include <sys/types.h>

namespace devhost {

// Returns another process than this one that has the file open, 0 if none is found.
pid_t HolderOf(const struct stat& file);

}  // namespace devhost
