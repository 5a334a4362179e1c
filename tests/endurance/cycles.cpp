#include "tests/endurance/cycles.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <string>

#include "tests/endurance/footprint.h"

namespace {

constexpr std::size_t kWarmUpCycles = 32;
constexpr std::size_t kRows = 10;

// What every cycle prints: the bytes that the first one printed.
class SteadyOutput {
 public:
  explicit SteadyOutput(CapturedOutput& output) : output_(output) { output_.Take(); }

  void CheckCycle() {
    const std::string text = output_.Take();
    if (first_.empty()) {
      first_ = text;
    }
    if (text.empty() || text != first_) {
      Refuse(text);
    }
  }

 private:
  [[noreturn]] void Refuse(const std::string& text) const {
    const auto [expected, actual] =
        std::mismatch(first_.begin(), first_.end(), text.begin(), text.end());
    const auto here = static_cast<std::size_t>(actual - text.begin());
    const std::size_t from = here - std::min<std::size_t>(here, 40);
    throw std::runtime_error("a cycle prints \"" + text.substr(from, 80) +
                             "\" where the first one printed \"" + first_.substr(from, 80) + '"');
  }

  CapturedOutput& output_;
  std::string first_;
};

void TellProgress(std::size_t done, std::size_t all, const char* what) {
  static const bool is_terminal = isatty(STDERR_FILENO) == 1;
  if (is_terminal && (done % 64 == 0 || done == all)) {
    std::fprintf(stderr, "\r%3zu %% of the %s%s", done * 100 / all, what, done == all ? "\n" : "");
  }
}

}  // namespace

void Endure(std::FILE* out, CapturedOutput& captured, std::size_t wanted,
            const Endurance& endurance) {
  const std::size_t per_row = endurance.per_cycle * kRows;
  const std::size_t cycles_per_row = std::max<std::size_t>(1, (wanted + per_row - 1) / per_row);
  const auto start = std::chrono::steady_clock::now();
  FootprintTable table(out, endurance.what);
  SteadyOutput output(captured);
  std::size_t cycle = 0;
  const auto run_cycles = [&](std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      endurance.cycle(cycle++);
      output.CheckCycle();
      TellProgress(cycle, kWarmUpCycles + kRows * cycles_per_row, endurance.what);
    }
  };
  run_cycles(kWarmUpCycles);
  table.AddRow(0);
  for (std::size_t row = 1; row <= kRows; ++row) {
    run_cycles(cycles_per_row);
    table.AddRow(row * cycles_per_row * endurance.per_cycle);
  }
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::fprintf(out, "%zu %s in %.1f s\n\n", kRows * cycles_per_row * endurance.per_cycle,
               endurance.what, seconds.count());
  std::fflush(out);
}
