#pragma once

#include <string>

namespace devhost {

// Writes the text to a new file in the folder of `path`, then renames it to `path`: nobody sees a
// part of it, and an old file stays if the text cannot be written. No signal for this process
// leaves a part behind. The new file has the mode, the owner and the group of the old one.
//
// Follows symbolic links. In a sticky folder that others can write to, it refuses a link or a file
// of another user, as the kernel does where fs.protected_symlinks and fs.protected_regular are set.
// Devices, pipes, and open files below /proc, such as /dev/stdout, are written directly, at their
// end. Throws std::runtime_error with a sentence that names the file. The process must have one
// thread only, and must ignore SIGXFSZ.
void WriteWhole(const std::string& path, const std::string& text);

}  // namespace devhost
