// Loads the plug-in and creates a layer, as the first thing of a process, and prints on standard
// error the microseconds until the plug-in is ready, and until the layer is there.

#include <dlfcn.h>

#include <chrono>
#include <cstdio>

#include "host/kae.h"

namespace {

using Clock = std::chrono::steady_clock;

double Since(Clock::time_point start) {
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

}  // namespace

int main() {
  const auto start = Clock::now();
  void* library = dlopen(KAETCP_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  void* symbol = library != nullptr ? dlsym(library, "this_kae_plugin") : nullptr;
  if (symbol == nullptr) {
    return 1;
  }
  kaePlugin& plugin = **static_cast<kaePlugin**>(symbol);
  plugin.InitPlugin();
  const double load = Since(start);
  dynamic_cast<kaeCPLayerFactory&>(plugin).GetNewLayer();
  std::fprintf(stderr, "%f %f\n", load, Since(start));
}
