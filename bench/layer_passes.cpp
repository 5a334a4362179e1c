// Each pass of a layer (a snapshot, a request, a release), compared with its floor and with the
// streams that it must use.

#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <string>

#include "bench/interleaved_measurements.h"
#include "bench/output.h"
#include "bench/private_kernel.h"
#include "bench/streams.h"
#include "bench/system_calls_alone.h"
#include "devhost/libe/request.h"

namespace {

constexpr int kRounds = 500;

using Step = std::function<void()>;

void MeasurePass(benchmark::State& state, const char* name, const Step& before, const Step& pass,
                 const Step& after) {
  const bench::Output output(static_cast<bench::Output::Target>(state.range(0)));
  const bench::SystemCallsAlone floor(bench::CallsOf(name));
  const bench::Streams streams(bench::CallsOf(name));
  bench::InterleavedMeasurements turns({
      {"pass",    pass                  },
      {"floor",   [&] { floor.Run(); }  },
      {"streams", [&] { streams.Run(); }}
  });
  for (auto _ : state) {
    turns.Round(
        [&](const std::string&) {
          before();
          output.Empty();
        },
        [&](const std::string&) {
          after();
          output.Empty();
        });
    state.SetIterationTime(turns.Last("pass"));
  }
  turns.ReportTimes(state);
  turns.ReportRatio(state, "ratio", "pass", "floor");
  turns.ReportRatio(state, "streams_ratio", "streams", "floor");
  turns.ReportRatio(state, "own_ratio", "pass", "streams");
}

// What comes before each turn is the same whichever way has it: a pass of the same kind, or what
// the pass needs.

void Snapshot(benchmark::State& state) {
  std::unique_ptr<BuiltLayer> layer;
  MeasurePass(
      state, "snapshot", [] { BuiltLayer(); }, [&] { layer = std::make_unique<BuiltLayer>(); },
      [&] { layer.reset(); });
}

void Request(benchmark::State& state) {
  const devhost::Document document = bench::TracedDocument();
  const bench::Output output;  // while the layer is created and released
  BuiltLayer layer;
  const auto configure = [&] {
    devhost::Request request;
    layer.Configure(request, document.contents());
  };
  MeasurePass(state, "request", configure, configure, [] {});
}

void Release(benchmark::State& state) {
  std::unique_ptr<BuiltLayer> layer;
  MeasurePass(
      state, "release", [&] { layer = std::make_unique<BuiltLayer>(); }, [&] { layer.reset(); },
      [&] { layer.reset(); });
}

void Targets(benchmark::internal::Benchmark* pass) {
  pass->Arg(bench::Output::kNull)->Arg(bench::Output::kPipe)->Arg(bench::Output::kFile);
  pass->ArgName("output")->Iterations(kRounds)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

BENCHMARK(Snapshot)->Apply(Targets);
BENCHMARK(Request)->Apply(Targets);
BENCHMARK(Release)->Apply(Targets);

}  // namespace
