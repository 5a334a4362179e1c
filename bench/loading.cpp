// From dlopen to the first layer, each time in a new process that is as small as a host can be.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "bench/programs.h"
#include "bench/statistics.h"

namespace {

void Loading(benchmark::State& state) {
  std::vector<double> loads;
  std::vector<double> layers;
  for (auto _ : state) {
    const std::string printed = bench::RunProgram({LOAD_ONCE});
    char* rest = nullptr;
    loads.push_back(std::strtod(printed.c_str(), &rest));
    layers.push_back(std::strtod(rest, nullptr));
    state.SetIterationTime(layers.back() / 1e6);
  }
  state.counters["load_us"] = bench::Quantile(loads, 0.5);
  state.counters["layer_us"] = bench::Quantile(layers, 0.5);
}
BENCHMARK(Loading)->UseManualTime()->Iterations(200)->Unit(benchmark::kMicrosecond);

}  // namespace
