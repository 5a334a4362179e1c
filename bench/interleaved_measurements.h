#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace bench {

// Several ways to do the same thing. They take turns, so a disturbance affects all of them.
class InterleavedMeasurements {
 public:
  struct Way {
    std::string name;
    std::function<void()> run;
  };

  explicit InterleavedMeasurements(std::vector<Way> ways) : ways_(std::move(ways)) {}

  // Runs each way once. Each round starts with another way. `before` and `after` surround each run
  // and are not measured.
  void Round(const std::function<void()>& before, const std::function<void()>& after);

  // The last time of a way, in seconds.
  double Last(const std::string& name) const { return times_.at(name).back(); }

  // Counter NAME_us: the median of a way's times.
  void ReportTimes(benchmark::State& state) const;

  // Counters NAME, NAME_q1 and NAME_q3: median and quartiles of the rounds' ratios of two ways.
  void ReportRatio(benchmark::State& state, const std::string& name, const std::string& of,
                   const std::string& to) const;

 private:
  std::vector<Way> ways_;
  std::size_t rounds_ = 0;
  std::map<std::string, std::vector<double>> times_;
};

}  // namespace bench
