// One process configures a layer in each of many network namespaces, one after the other. For
// comparison, a shell enters each and runs the usual tool.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "bench/output.h"
#include "bench/private_kernel.h"
#include "bench/programs.h"
#include "bench/statistics.h"
#include "devhost/kaehost/kernel/scratch_files.h"
#include "devhost/libe/request.h"
#include "tests/kernel/built_layer.h"
#include "tests/kernel/kernel.h"

namespace {

void Enter(int network) {
  if (setns(network, CLONE_NEWNET) != 0) {
    throw std::system_error(errno, std::generic_category(), "entering a network namespace");
  }
}

// New network namespaces, each with writable core files. The destructor returns the process to its
// previous namespace.
class Networks {
 public:
  explicit Networks(int64_t count) : home_(Current()) {
    // The kernel destroys earlier namespaces in the background; wait for it.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    for (int64_t i = 0; i < count; ++i) {
      if (unshare(CLONE_NEWNET) != 0) {
        throw std::system_error(errno, std::generic_category(), "making a network namespace");
      }
      devhost::MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
      networks_.push_back(Current());
    }
  }
  ~Networks() {
    for (const int network : networks_) {
      close(network);
    }
    if (setns(home_, CLONE_NEWNET) != 0) {
      std::terminate();  // else later measurements would run in the wrong namespace
    }
    close(home_);
  }
  Networks(const Networks&) = delete;
  Networks& operator=(const Networks&) = delete;

  auto begin() const { return networks_.begin(); }
  auto end() const { return networks_.end(); }

  // Runs `act` in each of them.
  void InEach(const auto& act) const {
    for (const int network : networks_) {
      Enter(network);
      act();
    }
  }

 private:
  static int Current() { return open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC); }

  const int home_;
  std::vector<int> networks_;
};

void Configure(BuiltLayer& layer, const devhost::Document& document) {
  devhost::Request request;
  layer.Configure(request, document.contents());
  if (request.reply() != devhost::Reply::kSuccess) {
    throw std::runtime_error("a request failed: " + request.detail());
  }
}

// Two of the values that both ways leave. No kernel has them by default.
void ExpectTheValues() {
  if (KernelText("ipv4/tcp_sack") != "0" || Words(KernelText("ipv4/tcp_rmem"))[1] != "5000") {
    throw std::runtime_error("a namespace was left with other values");
  }
}

// The times of all rounds, in seconds.
struct Times {
  std::vector<double> layers;
  std::vector<double> again;
  std::vector<double> shell;
};

void AddLayers(Times& times, int64_t count, const devhost::Document& document) {
  const Networks networks(count);
  std::vector<std::unique_ptr<BuiltLayer>> layers;
  times.layers.push_back(bench::Seconds([&] {
    networks.InEach([&] {
      layers.push_back(std::make_unique<BuiltLayer>());
      Configure(*layers.back(), document);
    });
  }));
  networks.InEach(ExpectTheValues);
  auto next = layers.begin();
  times.again.push_back(
      bench::Seconds([&] { networks.InEach([&] { Configure(**next++, document); }); }));
}

void AddShell(Times& times, int64_t count, const bench::Inputs& inputs) {
  const Networks networks(count);
  std::string paths;
  for (const int network : networks) {
    paths += " /proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(network);
  }
  const std::string loop =
      "for net in" + paths + "; do nsenter --net=$net sysctl -q -p " + inputs.settings + "; done";
  times.shell.push_back(bench::Seconds([&] { bench::RunProgram({"sh", "-e", "-c", loop}); }));
  networks.InEach(ExpectTheValues);
}

// Each round and each way gets new namespaces.
void Namespaces(benchmark::State& state) {
  const devhost::Document document = bench::TracedDocument();
  const bench::Inputs inputs;
  const bench::Output output;
  Times times;
  for (auto _ : state) {
    AddLayers(times, state.range(0), document);
    AddShell(times, state.range(0), inputs);
    state.SetIterationTime(times.layers.back());
  }
  state.counters["layers_ms"] = bench::Quantile(times.layers, 0.5) * 1e3;
  state.counters["again_ms"] = bench::Quantile(times.again, 0.5) * 1e3;
  state.counters["shell_ms"] = bench::Quantile(times.shell, 0.5) * 1e3;
}
BENCHMARK(Namespaces)->ArgName("count")->Arg(1)->Iterations(21)->UseManualTime();
BENCHMARK(Namespaces)->ArgName("count")->Arg(10)->Iterations(11)->UseManualTime();
BENCHMARK(Namespaces)->ArgName("count")->Arg(100)->Iterations(5)->UseManualTime();
BENCHMARK(Namespaces)->ArgName("count")->Arg(1000)->Iterations(1)->UseManualTime();

}  // namespace
