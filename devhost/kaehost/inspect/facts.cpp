#include "devhost/kaehost/inspect/facts.h"

#include <chrono>
#include <cstring>
#include <new>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/kernel/tunables.h"
#include "devhost/kaehost/plugin/elf.h"
#include "devhost/kaehost/plugin/plugin.h"
#include "devhost/kaehost/plugin/trace.h"
#include "devhost/kaehost/process/worker.h"
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

Json Try(const std::string& path) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  const auto microseconds = [start] {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
  };
  const Plugin plugin(path);
  const auto load_us = microseconds();
  const Layer layer = plugin.NewLayer();
  const auto layer_us = microseconds();
  const std::vector<std::string> callbacks = CallbacksOf(layer);
  const std::vector<std::string> vocabulary = InternedNames();
  Release(path, layer);
  const SharedLibrary library = ReadSharedLibrary(path);
  Json facts = Json::object();
  facts["error"] = nullptr;
  facts["plugin"] = path;
  facts["name"] = plugin.name();
  facts["version"] = plugin.version();
  facts["exports"] = library.exports;
  facts["needs"] = library.needs;
  facts["run_path"] = library.run_path;
  facts["callbacks"] = callbacks;
  facts["load_us"] = load_us;
  facts["layer_us"] = layer_us;
  facts["vocabulary"] = vocabulary;
  facts["status"] = 0;
  return facts;
}

Json TryOrRefuse(const std::string& path) {
  try {
    return Try(path);
  } catch (const PluginError& error) {
    return {
        {"error", error.what()}
    };
  } catch (const std::bad_alloc& error) {
    return {
        {"error", path + ": " + SentenceOf(error)}
    };
  }
}

}  // namespace

Json FactsOf(const std::string& path, Interruption& interruption) {
  const Tunables before = ReadTunables();
  Worker worker([&path](const Worker::Orders& orders) { orders.Answer(TryOrRefuse(path)); },
                interruption);
  Json facts = worker.Answer().value_or(Json());
  if (!worker.HasEndedWell() || facts.is_null()) {
    throw PluginError(path + ": the plug-in does not load: its process " + worker.AboutEnd());
  }
  if (!facts["error"].is_null()) {
    throw PluginError(facts["error"].get<std::string>());
  }
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
