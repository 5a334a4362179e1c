// Common tools, as whole processes, and this project apply the same values in one network
// namespace, in turns.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "bench/interleaved_measurements.h"
#include "bench/output.h"
#include "bench/private_kernel.h"
#include "bench/programs.h"
#include "bench/system_calls_alone.h"
#include "devhost/libe/request.h"
#include "tests/kernel/kernel.h"

namespace {

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
  const auto configure = [&] {
    devhost::Request request;
    layer.Configure(request, document.contents());
  };
  const auto running = [](const std::vector<std::string>& words) {
    return [words] { bench::RunProgram(words); };
  };
  bench::InterleavedMeasurements turns({
      {"request", configure                                                },
      {"sysctl",  running({"sysctl", "-p", inputs.settings})               },
      {"busybox", running({"busybox", "sysctl", "-p", inputs.settings})    },
      {"systemd", running({"/lib/systemd/systemd-sysctl", inputs.settings})},
      {"kaehost",
       [&] {
         neighbour.Run({KAEHOST, "apply", "--quiet", "--no-journal", "--netns", neighbour.path(),
                        inputs.document});
       }                                                                   },
      {"life",
       [&] {
         neighbour.Run({LIFE_ONCE, neighbour.path(), inputs.document});
       }                                                                   },
      {"nothing", running({"true"})                                        },
  });
  restore.Run();
  const KernelState found = ReadKernel();
  configure();
  const KernelState applied = ReadKernel();

  std::string wrong;
  for (auto _ : state) {
    turns.Round([&](const std::string&) { restore.Run(); },
                [&](const std::string& name) {
                  const bool restores = name == "kaehost" || name == "life" || name == "nothing";
                  wrong = ReadKernel() != (restores ? found : applied) ? name : wrong;
                });
    state.SetIterationTime(turns.Last("request"));
  }
  if (!wrong.empty()) {
    state.SkipWithError((wrong + " left other values").c_str());
  }
  turns.ReportTimes(state);
}
BENCHMARK(Peers)->UseManualTime()->Iterations(100)->Unit(benchmark::kMicrosecond);

}  // namespace
