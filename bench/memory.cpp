// The heap use of a layer, of a request and of a document, counted in the allocator. This is a
// separate program, so that counting does not slow down the other benchmarks.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include "bench/output.h"
#include "bench/private_kernel.h"
#include "devhost/libe/request.h"
#include "tests/kernel/built_layer.h"
#include "tests/support/catalogue.h"

namespace {

struct Heap {
  int64_t allocations;  // number of allocations
  int64_t bytes;        // in all allocations, with the allocator's overhead
  int64_t kept;         // blocks not freed yet
  int64_t live;         // bytes in them
  int64_t peak;         // maximum of live
};

Heap heap;  // of one thread

void* Count(void* block) {
  if (block != nullptr) {
    const auto size = static_cast<int64_t>(malloc_usable_size(block));
    ++heap.allocations;
    ++heap.kept;
    heap.bytes += size;
    heap.live += size;
    heap.peak = std::max(heap.peak, heap.live);
  }
  return block;
}

void Uncount(void* block) {
  if (block != nullptr) {
    --heap.kept;
    heap.live -= static_cast<int64_t>(malloc_usable_size(block));
  }
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,readability-inconsistent-declaration-parameter-name)
// The C library's own functions. These names remain when malloc and the others are replaced.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) { return Count(__libc_malloc(size)); }
void* calloc(std::size_t count, std::size_t size) { return Count(__libc_calloc(count, size)); }
void* realloc(void* block, std::size_t size) {
  Uncount(block);
  return Count(__libc_realloc(block, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return Count(__libc_memalign(alignment, size));
}
void free(void* block) {
  Uncount(block);
  __libc_free(block);
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-inconsistent-declaration-parameter-name)

namespace {

// The heap use of `act`.
template <class Act>
Heap Taken(Act act) {
  const Heap before = heap;
  heap.peak = heap.live;
  act();
  return {heap.allocations - before.allocations, heap.bytes - before.bytes, heap.kept - before.kept,
          heap.live - before.live, heap.peak - before.live};
}

void Report(benchmark::State& state, const Heap& taken) {
  state.counters["allocations"] = static_cast<double>(taken.allocations);
  state.counters["bytes"] = static_cast<double>(taken.bytes);
  state.counters["kept"] = static_cast<double>(taken.kept);
  state.counters["live"] = static_cast<double>(taken.live);
  state.counters["peak"] = static_cast<double>(taken.peak);
}

void LayerMemory(benchmark::State& state) {
  const bench::Output output;
  { BuiltLayer first; }  // fills the host's table of names, once
  for (auto _ : state) {
    std::unique_ptr<BuiltLayer> layer;
    Report(state, Taken([&] { layer = std::make_unique<BuiltLayer>(); }));
  }
}
BENCHMARK(LayerMemory)->Iterations(1);

// A document with the first settings of the catalogue, each with a value of the given length.
void RequestMemory(benchmark::State& state) {
  const bench::Output output;
  devhost::Document document;
  kaml_content* root = document.AddElement(nullptr, "tcp-settings");
  const std::string value(static_cast<std::size_t>(state.range(1)), '7');
  for (int64_t i = 0; i < state.range(0); ++i) {
    const char* name = ExpectedCatalogue()[static_cast<std::size_t>(i)].name;
    document.AddText(document.AddElement(root, name), value.c_str());
  }
  BuiltLayer layer;
  for (auto _ : state) {
    devhost::Request request;
    Report(state, Taken([&] { layer.Configure(request, document.contents()); }));
  }
}
BENCHMARK(RequestMemory)
    ->ArgNames({
        "settings", "characters"
})
    ->ArgsProduct({{0, 1, 10, 57}, {7, 100}})
    ->Iterations(1);

void DocumentMemory(benchmark::State& state) {
  devhost::Document document;
  for (auto _ : state) {
    Report(state, Taken([&] {
             kaml_content* root = document.AddElement(nullptr, "tcp-settings");
             for (int64_t i = 0; i < state.range(0); ++i) {
               document.AddText(document.AddElement(root, "tcp_sack"), "4096");
             }
           }));
  }
}
BENCHMARK(DocumentMemory)->Arg(1000000)->Iterations(1);

}  // namespace
