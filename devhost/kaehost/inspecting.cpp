#include "devhost/kaehost/inspecting.h"

#include <chrono>

#include "devhost/kaehost/plugin.h"
#include "devhost/kaehost/tunables.h"
#include "devhost/libe/vocabulary.h"

namespace devhost {
namespace {

std::vector<std::string> CallbacksOf(const Layer& layer) {
  std::vector<std::string> names;
  const auto add = [&names](bool offered, const char* name) {
    if (offered) {
      names.emplace_back(name);
    }
  };
  add(layer.configure != nullptr, "ConfigureCB");
  add(layer.start != nullptr, "StartCB");
  add(layer.stop != nullptr, "StopCB");
  add(layer.release != nullptr, "ReleaseCB");
  return names;
}

// Lets the layer end itself, and looks whether the tunables are what they were.
void Release(const std::string& path, const Layer& layer, const Tunables& before) {
  try {
    layer.release->do_Release();
  } catch (...) {
    throw PluginError(path + ": the layer's do_Release threw: " + Thrown());
  }
  std::string changed;
  for (const Change& change : Compare(before, ReadTunables())) {
    changed += (changed.empty() ? "" : ", ") + change.tunable;
  }
  if (!changed.empty()) {
    throw PluginError(path + ": the plug-in changes tunables without a request: " + changed);
  }
}

}  // namespace

Inspected LookInto(const std::string& path) {
  using Clock = std::chrono::steady_clock;
  const Tunables before = ReadTunables();
  const auto start = Clock::now();
  const auto microseconds = [start] {
    return static_cast<long>(
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count());
  };
  const Plugin plugin(path);
  Inspected inspected = {};
  inspected.load_us = microseconds();
  const Layer layer = plugin.NewLayer();
  inspected.layer_us = microseconds();
  inspected.callbacks = CallbacksOf(layer);
  inspected.vocabulary = Vocabulary();
  Release(path, layer, before);
  inspected.name = plugin.name();
  inspected.version = plugin.version();
  inspected.library = ReadSharedLibrary(path);
  return inspected;
}

}  // namespace devhost
