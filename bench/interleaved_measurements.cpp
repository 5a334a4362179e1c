#include "bench/interleaved_measurements.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>

#include "bench/statistics.h"

namespace bench {
namespace {

double ClockSeconds() {
  const auto time = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(time).count();
}

double ProcessorSeconds() {
  double seconds = 0;
  for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage usage = {};
    getrusage(who, &usage);
    for (const timeval& time : {usage.ru_utime, usage.ru_stime}) {
      seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    }
  }
  return seconds;
}

}  // namespace

void InterleavedMeasurements::Round(const Surrounding& before, const Surrounding& after) {
  std::shuffle(ways_.begin(), ways_.end(), random_);
  for (const Way& way : ways_) {
    before(way.name);
    // In this order, each of the two times contains one look at the processor's.
    const double start = ClockSeconds();
    const double processor_start = ProcessorSeconds();
    way.run();
    const double end = ClockSeconds();
    const double processor_end = ProcessorSeconds();
    times_[way.name].push_back(end - start);
    processor_times_[way.name].push_back(processor_end - processor_start);
    after(way.name);
  }
  ++rounds_;
}

void InterleavedMeasurements::ReportTimes(benchmark::State& state) const {
  for (const auto& [name, times] : times_) {
    state.counters[name + "_us"] = Quantile(times, 0.5) * 1e6;
    state.counters[name + "_cpu_us"] = Quantile(processor_times_.at(name), 0.5) * 1e6;
  }
  state.counters["rounds"] = static_cast<double>(rounds_);
}

void InterleavedMeasurements::ReportRatio(benchmark::State& state, const std::string& name,
                                          const std::string& of, const std::string& to) const {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < rounds_; ++i) {
    ratios.push_back(times_.at(of)[i] / times_.at(to)[i]);
  }
  state.counters[name] = Quantile(ratios, 0.5);
  state.counters[name + "_q1"] = Quantile(ratios, 0.25);
  state.counters[name + "_q3"] = Quantile(ratios, 0.75);
}

}  // namespace bench
