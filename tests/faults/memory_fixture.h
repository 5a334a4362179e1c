#pragma once

#include <string>
#include <vector>

#include "tests/faults/memory.h"
#include "tests/layer/request_fixture.h"
#include "tests/plugin/loaded_plugin.h"

inline const std::string kNoMemory = "Cannot allocate memory";

// What the requests of these tests set: values that no short string holds among them.
const Values& Changes();

// What a pass without a request tells of a file that it could not open.
std::string NotOpenedLine(const std::string& file, const std::string& error);

// By setting, those of these lines that tell of a file that could not be opened for want of memory.
Values NotOpenedForWantOfMemory(const std::string& lines);

inline std::string NameOfMode(const testing::TestParamInfo<memory::Mode>& mode) {
  return mode.param == memory::kOnce ? "Once" : "ForEver";
}

// A loaded plug-in whose layers meet exhausted memory.
class MemoryTest : public LayerTest {
 protected:
  MemoryTest();

  // What a layer does, undisturbed or with its `n`-th allocation failing.
  memory::Attempt TryNewLayer(std::size_t n = 0, memory::Mode mode = memory::kOnce);
  memory::Attempt TryConfigure(std::size_t n = 0, memory::Mode mode = memory::kOnce);
  memory::Attempt TryRelease(std::size_t n = 0, memory::Mode mode = memory::kOnce);

  // Lets `disturb(n)` go on for n = 1, 2, ... until no allocation fails.
  void ForEveryAllocation(const std::function<memory::Attempt(std::size_t)>& disturb);

  // Checks that a new layer serves a request and its release as one that was never disturbed.
  void ExpectTheNextLayerToWork();

  // Checks that the host's calls aside nothing is left that was allocated.
  void ExpectNothingLeft();

  // Checks that each regular file but those of these settings holds the text for these values.
  void ExpectFilesBut(const Values& settings, const Values& values) const;

  // Checks that each regular file holds what the kernel had, what a first request writes or
  // nothing.
  void ExpectFilesOldNewOrEmpty() const;

  // The lines of a request that is served by a layer with these values.
  static std::string ServedLines(const Values& values);
  static std::string ReleaseLines();

  LoadedLibrary library;
  kaeCPLayer* layer = nullptr;
  bool result = false;  // of the last request
};
