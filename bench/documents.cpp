// The cost of a request by document size: 1 to 10^6 child elements, with known and with unknown
// names. Each request writes the whole catalogue. The question is what each element adds: to a
// request, to reading a file, and to kaehost apply.

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "bench/output.h"
#include "bench/private_kernel.h"
#include "bench/programs.h"
#include "devhost/libe/request.h"

namespace {

// Uses all names in turn, including those at the end of the catalogue, which take longest to find.
constexpr const char* kKnown[] = {"rmem_max", "tcp_mem_low", "tcp_sack", "tcp_port_max"};
constexpr const char* kUnknown[] = {"tcp_mem", "ipfrag_time", "mtu", "tcp_sak"};

devhost::Document DocumentOf(const auto& names, int64_t elements) {
  devhost::Document document;
  kaml_content* root = document.AddElement(nullptr, "tcp-settings");
  for (int64_t i = 0; i < elements; ++i) {
    document.AddText(document.AddElement(root, names[i % 4]), "4096");
  }
  return document;
}

void Deliver(benchmark::State& state, const auto& names) {
  const devhost::Document document = DocumentOf(names, state.range(0));
  const bench::Output output;
  BuiltLayer layer;
  for (auto _ : state) {
    devhost::Request request;
    layer.Configure(request, document.contents());
  }
  state.counters["elements"] = static_cast<double>(state.range(0));
}

void KnownElements(benchmark::State& state) { Deliver(state, kKnown); }
void UnknownElements(benchmark::State& state) { Deliver(state, kUnknown); }

// A file with elements of unknown names, which kaehost applies with no more output than for none.
class ElementsFile {
 public:
  explicit ElementsFile(int64_t elements) {
    std::ofstream file(path_);
    file << "<tcp-settings>";
    for (int64_t i = 0; i < elements; ++i) {
      file << '<' << kUnknown[i % 4] << ">4096</" << kUnknown[i % 4] << '>';
    }
    file << "</tcp-settings>";
  }
  ~ElementsFile() { std::filesystem::remove(path_); }
  ElementsFile(const ElementsFile&) = delete;
  ElementsFile& operator=(const ElementsFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  const std::string path_ = std::filesystem::temp_directory_path() /
                            ("kaetcp-bench-" + std::to_string(getpid()) + "-elements.xml");
};

void ReadElements(benchmark::State& state) {
  const ElementsFile file(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(devhost::Document::Read(file.path()).contents());
  }
}

void ApplyElements(benchmark::State& state) {
  const ElementsFile file(state.range(0));
  for (auto _ : state) {
    bench::RunProgram({KAEHOST, "apply", "--quiet", file.path()});
  }
}

void NoneAndAMillion(benchmark::internal::Benchmark* of) {
  of->Arg(0)->Arg(1000000)->Iterations(1)->Repetitions(5);
  of->UseRealTime()->Unit(benchmark::kMicrosecond);
}
BENCHMARK(ReadElements)->Apply(NoneAndAMillion);
BENCHMARK(ApplyElements)->Apply(NoneAndAMillion);

// Repeats each size, because a line is fitted to the times of all sizes.
void Sizes(benchmark::internal::Benchmark* of) {
  of->RangeMultiplier(10)->Range(1, 1000000);
  of->Repetitions(5)->MinTime(0.1)->Unit(benchmark::kMicrosecond);
}
BENCHMARK(KnownElements)->Apply(Sizes);
BENCHMARK(UnknownElements)->Apply(Sizes);

}  // namespace
