#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <string>

// What is not as kaehost makes a journal and its folder is refused, and not touched.

namespace devhost {

constexpr std::size_t kLongestJournal = 64U << 10;

// Throws a NamespaceError about this file or folder.
[[noreturn]] void RefuseForeign(const std::string& path, const std::string& what);

// Checks a folder that was opened, or errno if `folder` is negative. Throws NamespaceError.
void CheckFolder(const std::string& path, int folder);

// Throws NamespaceError.
void CheckFile(const std::string& path, const struct stat& status);

}  // namespace devhost
