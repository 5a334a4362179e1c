#include "bench/interleaved_measurements.h"

#include "bench/statistics.h"

namespace bench {

void InterleavedMeasurements::Round(const std::function<void()>& before,
                                    const std::function<void()>& after) {
  for (std::size_t i = 0; i < ways_.size(); ++i) {
    const Way& way = ways_[(rounds_ + i) % ways_.size()];
    before();
    times_[way.name].push_back(Seconds(way.run));
    after();
  }
  ++rounds_;
}

void InterleavedMeasurements::ReportTimes(benchmark::State& state) const {
  for (const auto& [name, times] : times_) {
    state.counters[name + "_us"] = Quantile(times, 0.5) * 1e6;
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
