#include "devhost/kaehost/kernel/file_holder.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace devhost {

pid_t HolderOf(const struct stat& file) {
  std::error_code gone;
  for (const auto& process : std::filesystem::directory_iterator("/proc", gone)) {
    const pid_t id = std::atoi(process.path().filename().c_str());
    if (id == 0 || id == getpid()) {
      continue;
    }
    for (const auto& open : std::filesystem::directory_iterator(process.path() / "fd", gone)) {
      struct stat found = {};
      if (stat(open.path().c_str(), &found) == 0 && found.st_ino == file.st_ino &&
          found.st_dev == file.st_dev) {
        return id;
      }
    }
  }
  return 0;
}

}  // namespace devhost
