#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace bench {

// Several ways to do the same thing. They take turns in a shuffled order, so that a disturbance
// affects all of them, and none always follows the same other one.
class InterleavedMeasurements {
 public:
  struct Way {
    std::string name;
    std::function<void()> run;
  };
  using Surrounding = std::function<void(const std::string& name)>;

  explicit InterleavedMeasurements(std::vector<Way> ways) : ways_(std::move(ways)) {}

  // Runs each way once. `before` and `after` surround each run and are not measured. What they do
  // to caches and memory should not depend on the way.
  void Round(const Surrounding& before, const Surrounding& after);

  // The last time of a way, in seconds.
  double Last(const std::string& name) const { return times_.at(name).back(); }

  // Counters NAME_us and NAME_cpu_us: the medians of a way's times, and of the processor's time for
  // it in this process and in the child processes that have ended.
  void ReportTimes(benchmark::State& state) const;

  // Counters NAME, NAME_q1 and NAME_q3: median and quartiles of the rounds' ratios of two ways.
  void ReportRatio(benchmark::State& state, const std::string& name, const std::string& of,
                   const std::string& to) const;

 private:
  using Times = std::map<std::string, std::vector<double>>;

  std::vector<Way> ways_;
  std::mt19937 random_;  // with its default seed: each run has the same order
  std::size_t rounds_ = 0;
  Times times_;
  Times processor_times_;
};

}  // namespace bench
