// Common tools, as whole processes, and this project apply the same values in one network
// namespace, in turns.

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bench/output.h"
#include "bench/private_kernel.h"
#include "bench/programs.h"
#include "bench/statistics.h"
#include "bench/system_calls_alone.h"
#include "devhost/libe/request.h"
#include "tests/kernel/kernel.h"

namespace {

struct Way {
  const char* name;
  bool restores;  // like `kaehost apply` at its end
  std::function<void()> apply;
};

// In each round, every way applies the values once, starting from the kernel's own values.
void Peers(benchmark::State& state) {
  const bench::Inputs inputs;
  const devhost::Document document = bench::TracedDocument();
  const bench::SystemCallsAlone restore(bench::CallsOf("release"));
  const bench::Output output;
  BuiltLayer layer;
  const Way ways[] = {
      {"request", false,
       [&] {
         devhost::Request request;
         layer.Configure(request, document.contents());
       }                                                    },
      {"sysctl",  false,
       [&] {
         bench::RunProgram({"sysctl", "-p", inputs.settings});
       }                                                    },
      {"busybox", false,
       [&] {
         bench::RunProgram({"busybox", "sysctl", "-p", inputs.settings});
       }                                                    },
      {"systemd", false,
       [&] {
         bench::RunProgram({"/lib/systemd/systemd-sysctl", inputs.settings});
       }                                                    },
      {"kaehost", true,
       [&] {
         bench::RunProgram(
             {KAEHOST, "apply", "--quiet", "--netns", "/proc/self/ns/net", inputs.document});
       }                                                    },
      {"nothing", true,  [] { bench::RunProgram({"true"}); }},
  };
  restore.Run();
  const KernelState found = ReadKernel();
  ways[0].apply();
  const KernelState applied = ReadKernel();
  restore.Run();

  std::map<std::string, std::vector<double>> times;
  for (auto _ : state) {
    for (const Way& way : ways) {
      times[way.name].push_back(bench::Seconds(way.apply));
      if (ReadKernel() != (way.restores ? found : applied)) {
        state.SkipWithError((std::string(way.name) + " left other values").c_str());
        return;
      }
      restore.Run();
    }
    state.SetIterationTime(times["request"].back());
  }
  for (const auto& [name, of_one] : times) {
    state.counters[name + "_us"] = bench::Quantile(of_one, 0.5) * 1e6;
  }
}
BENCHMARK(Peers)->UseManualTime()->Iterations(50)->Unit(benchmark::kMicrosecond);

}  // namespace
