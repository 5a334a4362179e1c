// From dlopen to the first layer, in a new process each time, because the loader caches libraries.

#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

#include "bench/output.h"
#include "bench/private_kernel.h"
#include "host/kae.h"

namespace {

struct Times {
  double load;
  double layer;
};

double Since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

Times LoadAndMakeALayer() {
  const auto start = std::chrono::steady_clock::now();
  void* library = dlopen(KAETCP_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  auto* plugin = *static_cast<kaePlugin**>(dlsym(library, "this_kae_plugin"));
  plugin->InitPlugin();
  const double load = Since(start);
  dynamic_cast<kaeCPLayerFactory&>(*plugin).GetNewLayer();
  return {load, Since(start)};
}

// Loads the plug-in in a child process that has not loaded it yet.
Times LoadInAChild() {
  int ends[2];
  Times times = {};
  if (pipe(ends) != 0) {
    std::abort();
  }
  const pid_t child = fork();
  if (child == 0) {
    const bench::Output output;
    times = LoadAndMakeALayer();
    _exit(write(ends[1], &times, sizeof times) == sizeof times ? 0 : 1);
  }
  close(ends[1]);
  if (read(ends[0], &times, sizeof times) != sizeof times) {
    std::abort();
  }
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return times;
}

void Loading(benchmark::State& state) {
  double load = 0;
  for (auto _ : state) {
    const Times times = LoadInAChild();
    state.SetIterationTime(times.layer);
    load += times.load;
  }
  state.counters["load_us"] = benchmark::Counter(load * 1e6, benchmark::Counter::kAvgIterations);
}
BENCHMARK(Loading)->UseManualTime()->Iterations(200)->Unit(benchmark::kMicrosecond);

}  // namespace
