#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include "bench/private_kernel.h"

int main(int argc, char** argv) {
  rlimit files = {};  // one descriptor for each namespace
  getrlimit(RLIMIT_NOFILE, &files);
  files.rlim_cur = files.rlim_max;
  setrlimit(RLIMIT_NOFILE, &files);
  bench::EnterPrivateKernel();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
