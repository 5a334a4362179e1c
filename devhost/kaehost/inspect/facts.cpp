#include "devhost/kaehost/inspect/facts.h"

#include <chrono>
#include <cstring>
#include <stdexcept>

#include "devhost/kaehost/kernel/tunables.h"
#include "devhost/kaehost/plugin/plugin.h"
#include "devhost/libe/interning.h"

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

void Release(const std::string& path, const Layer& layer) {
  try {
    layer.release->do_Release();
  } catch (...) {
    throw PluginError(path + ": the layer's do_Release threw: " + Thrown());
  }
}

// Loads the plug-in, lets it make a layer, releases the layer and unloads the plug-in.
PluginFacts Try(const std::string& path) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  const auto microseconds = [start] {
    return static_cast<long>(
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count());
  };
  const Plugin plugin(path);
  PluginFacts facts = {};
  facts.load_us = microseconds();
  const Layer layer = plugin.NewLayer();
  facts.layer_us = microseconds();
  facts.callbacks = CallbacksOf(layer);
  facts.vocabulary = InternedNames();
  Release(path, layer);
  facts.name = plugin.name();
  facts.version = plugin.version();
  facts.library = ReadSharedLibrary(path);
  return facts;
}

}  // namespace

PluginFacts FactsOf(const std::string& path) {
  const Tunables before = ReadTunables();
  PluginFacts facts = Try(path);
  std::string changed;
  const Tunables after = ReadTunables();
  for (const Change& change : Compare(before, after)) {
    changed += (changed.empty() ? "" : ", ") + change.tunable;
  }
  if (!changed.empty()) {
    throw PluginError(path + ": the plug-in changes tunables without a request: " + changed);
  }
  for (const Unread& unread : FindUnread(before, after)) {
    if (!unread.is_refused) {
      throw std::runtime_error(path + ": cannot tell whether the plug-in changes " +
                               unread.tunable + ": cannot read it: " + std::strerror(unread.error));
    }
  }
  return facts;
}

}  // namespace devhost
