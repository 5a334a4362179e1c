#pragma once

#include <fcntl.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/faults/broken_output.h"
#include "tests/layer/fixture.h"

inline const OutputFault kOutputClosed = {OutputFault::kClosed, {1}, _IOFBF, ""};
inline const OutputFault kAllClosed = {OutputFault::kClosed, {0, 1, 2}, _IOFBF, ""};

inline bool IsOpen(int descriptor) { return fcntl(descriptor, F_GETFD) != -1; }

inline std::vector<bool> WhichAreOpen() { return {IsOpen(0), IsOpen(1), IsOpen(2)}; }

// What a descriptor is open on; empty when it is closed.
inline std::string Target(int descriptor) {
  std::error_code closed;
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), closed);
}

// Does something of its own at the moment when its file is open and its text is asked for.
class ActingSetting : public CTCPSetting {
 public:
  explicit ActingSetting(std::function<void()> act)
      : CTCPSetting("tcp_acting", "1", "tcp_acting", nullptr, nullptr), act_(std::move(act)) {}

  std::string GetWriteValue() const override {
    act_();
    return "1";
  }

 private:
  std::function<void()> act_;
};

class LowDescriptorsTest : public LayerTest {
 protected:
  // A layer that does this while it writes its first file.
  std::unique_ptr<OpenLayer> LayerThatActs(const std::function<void()>& act) {
    auto layer = NewLayer();
    layer->Empty();
    layer->settings_[&kKeys[0]] = new ActingSetting(act);
    return layer;
  }

  static constexpr char kKeys[2] = {};
};
