#include "tests/endurance/footprint.h"

#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace {

std::size_t HeapInUse() {
  const struct mallinfo2 heap = mallinfo2();
  if (heap.uordblks == 0) {
    throw std::runtime_error("the allocator of this build does not tell what is in use");
  }
  return heap.uordblks + heap.hblkhd;
}

std::size_t ResidentKiB() {
  std::ifstream file("/proc/self/statm");
  std::size_t size = 0;
  std::size_t resident = 0;
  if (!(file >> size >> resident)) {
    throw std::runtime_error("/proc/self/statm cannot be read");
  }
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

// All but the one that the counting itself needs.
std::size_t OpenDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors))) - 1;
}

void Refuse(const char* what, std::size_t before, std::size_t now) {
  throw std::runtime_error(std::string(what) + " went from " + std::to_string(before) + " to " +
                           std::to_string(now));
}

}  // namespace

Footprint Footprint::Measure() { return {HeapInUse(), ResidentKiB(), OpenDescriptors()}; }

FootprintTable::FootprintTable(std::FILE* out, const char* what) : out_(out) {
  std::fprintf(out_, "%12s%20s%16s%14s\n", what, "heap in use, bytes", "resident, KiB",
               "descriptors");
  std::fflush(out_);
  Footprint::Measure();  // what it allocates and frees stays in malloc's caches, which count as
                         // used
}

void FootprintTable::AddRow(std::size_t count) {
  const Footprint now = Footprint::Measure();
  std::fprintf(out_, "%12zu%20zu%16zu%14zu\n", count, now.heap, now.resident, now.descriptors);
  std::fflush(out_);
  if (!first_) {
    first_ = now;
  }
  if (now.heap != first_->heap) {
    Refuse("heap in use", first_->heap, now.heap);
  }
  if (now.descriptors != first_->descriptors) {
    Refuse("open descriptors", first_->descriptors, now.descriptors);
  }
  if (now.resident > first_->resident + kResidentBound) {
    Refuse("resident memory (KiB)", first_->resident, now.resident);
  }
}
