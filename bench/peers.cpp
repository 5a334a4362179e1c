// Common tools, as whole processes, and this project apply the same values in one network
// namespace, in turns.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <functional>
#include <map>
#include <stdexcept>
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

// Another network namespace, where a program starts that must enter this one from outside.
class Neighbour {
 public:
  Neighbour() {
    const bool created = unshare(CLONE_NEWNET) == 0;
    neighbour_ = Current();
    if (!created || setns(home_, CLONE_NEWNET) != 0) {
      throw std::runtime_error("cannot create a network namespace");
    }
  }
  ~Neighbour() {
    close(home_);
    close(neighbour_);
  }
  Neighbour(const Neighbour&) = delete;
  Neighbour& operator=(const Neighbour&) = delete;

  // The path of this namespace.
  std::string path() const {
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(home_);
  }

  void Run(const std::vector<std::string>& words) const {
    setns(neighbour_, CLONE_NEWNET);
    bench::RunProgram(words);
    setns(home_, CLONE_NEWNET);
  }

 private:
  static int Current() { return open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC); }

  const int home_ = Current();
  int neighbour_ = -1;
};

// In each round, every way applies the values once, starting from the kernel's own values.
void Peers(benchmark::State& state) {
  const bench::Inputs inputs;
  const devhost::Document document = bench::TracedDocument();
  const bench::SystemCallsAlone restore(bench::CallsOf("release"));
  const bench::Output output;
  const Neighbour neighbour;
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
         neighbour.Run({KAEHOST, "apply", "--quiet", "--no-journal", "--netns", neighbour.path(),
                        inputs.document});
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
