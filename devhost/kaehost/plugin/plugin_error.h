#pragma once

#include <stdexcept>

namespace devhost {

// A plug-in that does not load or makes no layer; what() is a sentence that names the file.
class PluginError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace devhost
