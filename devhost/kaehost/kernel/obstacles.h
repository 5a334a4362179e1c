#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace devhost {

// An error that the kernel gives when a tunable is opened behind an obstacle.
struct OpenError {
  std::string_view name;  // "EACCES"
  int number;
};

std::span<const OpenError> OpenErrors();

// Puts an obstacle in the way of the tunable at `path`, a file in a folder of /proc/sys/net, calls
// `open` and removes the obstacle. So the error is the kernel's own. Returns what `open` returned.
// If there can be no obstacle, does not call it and throws std::system_error.
// Needs a private mount namespace, in which nobody else uses the folder meanwhile.
int OpenBehindObstacle(int error, const std::string& path, const std::function<int()>& open);

}  // namespace devhost
