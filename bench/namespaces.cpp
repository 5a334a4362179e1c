// One process configures a layer in each of many network namespaces, one after the other. For
// comparison, a shell enters each and runs the usual tool. And kaehost applies a document to all,
// as one process and as one for each.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "bench/output.h"
#include "bench/private_kernel.h"
#include "bench/programs.h"
#include "bench/statistics.h"
#include "devhost/libe/request.h"
#include "tests/kernel/built_layer.h"
#include "tests/kernel/kernel.h"

namespace {

int Current(const char* kind) {
  return open((std::string("/proc/self/ns/") + kind).c_str(), O_RDONLY | O_CLOEXEC);
}

// A network namespace, and the mount namespace with the /proc that shows its tunables.
struct Place {
  int network;
  int mounts;
};

bool Enter(const Place& place) {
  return setns(place.mounts, CLONE_NEWNS) == 0 && setns(place.network, CLONE_NEWNET) == 0;
}

// All places in one mount namespace, or groups of so many, each with a proc file system of its own.
enum Groups : int64_t { kNone = 0, kOfTen = 10 };

// kaehost emulates these files itself, and copies the mounts that it finds for each group.
enum class CoreFiles { kWritable, kReadOnly };

// New network namespaces. The destructor returns the process to its previous namespaces.
class Networks {
 public:
  Networks(int64_t count, Groups groups, CoreFiles core_files = CoreFiles::kWritable) {
    // The kernel destroys earlier namespaces in the background; wait for it.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    int mounts = home_.mounts;
    for (int64_t i = 0; i < count; ++i) {
      if (groups != kNone && i % groups == 0) {
        seconds_of_mounts_ += bench::Seconds([&] { mounts = NewMounts(); });
        mounts_.push_back(mounts);
      }
      if (unshare(CLONE_NEWNET) != 0) {
        throw std::system_error(errno, std::generic_category(), "making a network namespace");
      }
      if (core_files == CoreFiles::kWritable) {
        bench::MakeCoreFilesWritable();
      }
      places_.push_back({Current("net"), mounts});
    }
  }
  ~Networks() {
    for (const Place& place : places_) {
      close(place.network);
    }
    std::for_each(mounts_.begin(), mounts_.end(), close);
    if (!Enter(home_)) {
      std::terminate();  // else later measurements would run in the wrong namespace
    }
    close(home_.network);
    close(home_.mounts);
  }
  Networks(const Networks&) = delete;
  Networks& operator=(const Networks&) = delete;

  auto begin() const { return places_.begin(); }
  auto end() const { return places_.end(); }
  double seconds_of_mounts() const { return seconds_of_mounts_; }

  // Returns the process to its previous namespaces already.
  void Leave() const {
    if (!Enter(home_)) {
      throw std::system_error(errno, std::generic_category(), "leaving a network namespace");
    }
  }

  // Runs `act` in each of them.
  void InEach(const auto& act) const {
    for (const Place& place : places_) {
      if (!Enter(place)) {
        throw std::system_error(errno, std::generic_category(), "entering a network namespace");
      }
      act();
    }
  }

 private:
  // Without the mounts of other groups.
  int NewMounts() const {
    if (setns(home_.mounts, CLONE_NEWNS) != 0 || unshare(CLONE_NEWNS) != 0) {
      throw std::system_error(errno, std::generic_category(), "making a mount namespace");
    }
    bench::MountProc();
    return Current("mnt");
  }

  const Place home_ = {Current("net"), Current("mnt")};
  std::vector<int> mounts_;
  std::vector<Place> places_;
  double seconds_of_mounts_ = 0;
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
  std::vector<double> cold;  // once more in groups, after other work has filled the caches
  std::vector<double> mounts;
  std::vector<double> shell;
  std::vector<double> kaehost;
  std::vector<double> kaehost_for_one;
};

// As other work between two requests does.
void FillCaches() {
  constexpr std::size_t kLine = 64;
  static std::vector<char> bytes(std::size_t{64} << 20);
  for (std::size_t i = 0; i < bytes.size(); i += kLine) {
    benchmark::DoNotOptimize(++bytes[i]);
  }
}

void AddLayers(Times& times, int64_t count, Groups groups, const devhost::Document& document) {
  const Networks networks(count, groups);
  times.mounts.push_back(networks.seconds_of_mounts());
  std::vector<std::unique_ptr<BuiltLayer>> layers;
  times.layers.push_back(bench::Seconds([&] {
    networks.InEach([&] {
      layers.push_back(std::make_unique<BuiltLayer>());
      Configure(*layers.back(), document);
    });
  }));
  networks.InEach(ExpectTheValues);
  const auto configure_all = [&] {
    auto next = layers.begin();
    networks.InEach([&] { Configure(**next++, document); });
  };
  times.again.push_back(bench::Seconds(configure_all));
  if (groups != kNone) {
    FillCaches();
    times.cold.push_back(bench::Seconds(configure_all));
  }
}

std::string PathOf(const Place& place) {
  return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(place.network);
}

void AddShell(Times& times, int64_t count, const bench::Inputs& inputs) {
  const Networks networks(count, kNone);
  std::string paths;
  for (const Place& place : networks) {
    paths += ' ' + PathOf(place);
  }
  const std::string loop =
      "for net in" + paths + "; do nsenter --net=$net sysctl -q -p " + inputs.settings + "; done";
  times.shell.push_back(bench::Seconds([&] { bench::RunProgram({"sh", "-e", "-c", loop}); }));
  networks.InEach(ExpectTheValues);
}

// Throws unless the values are the kernel's own.
void ExpectOtherValues() {
  if (KernelText("ipv4/tcp_sack") != "1") {
    throw std::runtime_error("kaehost has not restored a namespace");
  }
}

// For one, each in a few of the namespaces.
void AddKaehost(Times& times, int64_t count, const bench::Inputs& inputs) {
  constexpr int kFew = 10;
  const Networks networks(count, kNone, CoreFiles::kReadOnly);
  networks.Leave();
  const std::string names = inputs.document + ".names";
  {
    std::ofstream file(names);
    for (const Place& place : networks) {
      file << PathOf(place) << '\n';
    }
  }
  const std::vector<std::string> apply = {KAEHOST, "apply", "--quiet", "--no-journal",
                                          inputs.document};
  const auto seconds = [&apply](const std::vector<std::string>& target) {
    std::vector<std::string> words = apply;
    words.insert(words.end(), target.begin(), target.end());
    return bench::Seconds([&words] { bench::RunProgram(words); });
  };
  times.kaehost.push_back(seconds({"--netns-file", names}));
  for (auto place = networks.begin(); place != networks.end() && place - networks.begin() < kFew;
       ++place) {
    times.kaehost_for_one.push_back(seconds({"--netns", PathOf(*place)}));
  }
  std::filesystem::remove(names);
  networks.InEach(ExpectOtherValues);
}

double Milliseconds(std::vector<double> times) {
  return bench::Quantile(std::move(times), 0.5) * 1e3;
}

// Each round and each way gets new namespaces.
void Namespaces(benchmark::State& state) {
  const devhost::Document document = bench::TracedDocument();
  const bench::Inputs inputs;
  const bench::Output output;
  Times times;
  for (auto _ : state) {
    AddLayers(times, state.range(0), kNone, document);
    AddShell(times, state.range(0), inputs);
    AddKaehost(times, state.range(0), inputs);
    state.SetIterationTime(times.layers.back());
  }
  state.counters["layers_ms"] = Milliseconds(times.layers);
  state.counters["again_ms"] = Milliseconds(times.again);
  state.counters["shell_ms"] = Milliseconds(times.shell);
  state.counters["kaehost_ms"] = Milliseconds(times.kaehost);
  state.counters["kaehost_for_one_ms"] = Milliseconds(times.kaehost_for_one);
}
BENCHMARK(Namespaces)->ArgName("count")->Arg(1)->Iterations(21)->UseManualTime();
BENCHMARK(Namespaces)->ArgName("count")->Arg(10)->Iterations(11)->UseManualTime();
BENCHMARK(Namespaces)->ArgName("count")->Arg(100)->Iterations(5)->UseManualTime();
BENCHMARK(Namespaces)->ArgName("count")->Arg(1000)->Iterations(3)->UseManualTime();

void NamespacesInGroups(benchmark::State& state) {
  const devhost::Document document = bench::TracedDocument();
  const bench::Output output;
  Times times;
  for (auto _ : state) {
    AddLayers(times, state.range(0), kOfTen, document);
    state.SetIterationTime(times.layers.back());
  }
  state.counters["layers_ms"] = Milliseconds(times.layers);
  state.counters["again_ms"] = Milliseconds(times.again);
  state.counters["cold_ms"] = Milliseconds(times.cold);
  state.counters["mounts_ms"] = Milliseconds(times.mounts);
}
BENCHMARK(NamespacesInGroups)->ArgName("count")->Arg(1)->Iterations(21)->UseManualTime();
BENCHMARK(NamespacesInGroups)->ArgName("count")->Arg(10)->Iterations(11)->UseManualTime();
BENCHMARK(NamespacesInGroups)->ArgName("count")->Arg(100)->Iterations(5)->UseManualTime();
BENCHMARK(NamespacesInGroups)->ArgName("count")->Arg(1000)->Iterations(3)->UseManualTime();
BENCHMARK(NamespacesInGroups)->ArgName("count")->Arg(5000)->Iterations(1)->UseManualTime();

}  // namespace
