// The cost of a request by document size: 1 to 10^6 child elements, with known and with unknown
// names. Each request writes the whole catalogue. The question is what each element adds.

#include <benchmark/benchmark.h>

#include <string>

#include "bench/output.h"
#include "bench/private_kernel.h"
#include "devhost/libe/request.h"

namespace {

// Uses all names in turn, including those at the end of the catalogue, which take longest to find.
constexpr const char* kKnown[] = {"rmem_max", "tcp_mem_low", "tcp_sack", "tcp_port_max"};
constexpr const char* kUnknown[] = {"tcp_mem", "ipfrag_time", "mtu", "tcp_sak"};

devhost::Document DocumentOf(const auto& names, int64_t elements) {
  devhost::Document document;
  kaml_content* root = document.AddElement(nullptr, "tcp-settings");
  for (int64_t i = 0; i < elements; ++i) {
    document.AddText(document.AddElement(root, names[i % 4]), "4096");
  }
  return document;
}

void Deliver(benchmark::State& state, const auto& names) {
  const devhost::Document document = DocumentOf(names, state.range(0));
  const bench::Output output;
  BuiltLayer layer;
  for (auto _ : state) {
    devhost::Request request;
    layer.Configure(request, document.contents());
  }
  state.counters["elements"] = static_cast<double>(state.range(0));
}

void KnownElements(benchmark::State& state) { Deliver(state, kKnown); }
void UnknownElements(benchmark::State& state) { Deliver(state, kUnknown); }

// Repeats each size, because a line is fitted to the times of all sizes.
void Sizes(benchmark::internal::Benchmark* of) {
  of->RangeMultiplier(10)->Range(1, 1000000);
  of->Repetitions(5)->MinTime(0.1)->Unit(benchmark::kMicrosecond);
}
BENCHMARK(KnownElements)->Apply(Sizes);
BENCHMARK(UnknownElements)->Apply(Sizes);

}  // namespace
