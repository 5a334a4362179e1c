// A layer in each of many network namespaces, configured one after the other from one process,
// beside a shell that enters each and runs the usual tool.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "bench/output.h"
#include "bench/programs.h"
#include "bench/statistics.h"
#include "bench/world.h"
#include "devhost/kaehost/sandbox.h"
#include "devhost/libe/request.h"
#include "tests/kernel/built_layer.h"

namespace {

void Enter(int network) {
  if (setns(network, CLONE_NEWNET) != 0) {
    throw std::system_error(errno, std::generic_category(), "entering a network namespace");
  }
}

// Fresh network namespaces, each with writable core files. The process is in the one that it was in
// before when this object goes.
class Networks {
 public:
  explicit Networks(int64_t count) : home_(Current()) {
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
    setns(home_, CLONE_NEWNET);
    close(home_);
  }
  Networks(const Networks&) = delete;
  Networks& operator=(const Networks&) = delete;

  auto begin() const { return networks_.begin(); }
  auto end() const { return networks_.end(); }

 private:
  // To be inherited by the tools.
  static int Current() { return open("/proc/self/ns/net", O_RDONLY); }

  const int home_;
  std::vector<int> networks_;
};

struct Configured {
  int network;
  std::unique_ptr<BuiltLayer> layer;
};

void LayersInNamespaces(benchmark::State& state) {
  const devhost::Document document = bench::TracedDocument();
  const bench::Output output;
  for (auto _ : state) {
    const Networks networks(state.range(0));
    std::vector<Configured> configured;
    state.SetIterationTime(bench::Seconds([&] {
      for (const int network : networks) {
        Enter(network);
        configured.push_back({network, std::make_unique<BuiltLayer>()});
        devhost::Request request;
        configured.back().layer->Configure(request, document.contents());
        if (request.reply() != devhost::Reply::kSuccess) {
          throw std::runtime_error("a request failed: " + request.detail());
        }
      }
    }));
    for (Configured& one : configured) {
      Enter(one.network);
      one.layer.reset();
    }
  }
}

void ShellInNamespaces(benchmark::State& state) {
  const bench::Inputs inputs;
  const bench::Output output;
  for (auto _ : state) {
    const Networks networks(state.range(0));
    std::string descriptors;
    for (const int network : networks) {
      descriptors += ' ' + std::to_string(network);
    }
    state.SetIterationTime(bench::Seconds([&] {
      bench::RunProgram({"sh", "-e", "-c",
                         "for fd in" + descriptors +
                             "; do nsenter --net=/proc/self/fd/$fd sysctl -q -p " +
                             inputs.settings + "; done"});
    }));
  }
}

void Counts(benchmark::internal::Benchmark* of) {
  of->ArgName("namespaces")->Arg(1)->Arg(10)->Arg(100)->Arg(1000);
  of->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
}
BENCHMARK(LayersInNamespaces)->Apply(Counts);
BENCHMARK(ShellInNamespaces)->Apply(Counts);

}  // namespace
