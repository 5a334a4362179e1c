#pragma once

#include <stdexcept>

namespace devhost {

// The plug-in does not load or makes no layer. what() is a sentence that names the file.
class PluginError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace devhost
