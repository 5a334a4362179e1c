#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/process/interruption.h"
#include "devhost/kaehost/validate/test.h"

namespace devhost {

enum class Result { kPassed, kFailed, kSkipped, kCrashed, kTimedOut };

// Whether the plug-in is not what the test expects.
bool IsBad(Result result);

// What became of a test.
struct TestResult {
  const Test* test;
  Result result;
  std::string expected = {};  // of one that failed
  std::string seen = {};
  std::string why = {};     // it was skipped
  bool is_blocked = false;  // it was skipped because one that it needs did not pass
  std::string step = {};    // what it did last, if it crashed or timed out
  std::string end = {};     // how its process ended, if it crashed
  std::chrono::microseconds time = {};
};

// What to run, and how.
struct Plan {
  std::string plugin;
  std::vector<const Test*> selected;  // in the order of AllTests
  std::chrono::seconds timeout;       // for each test
  unsigned seed;
};

// What a run found out.
struct Validation {
  std::string name;  // of the plug-in, empty if it has none
  std::string version;
  std::vector<TestResult> results;  // in the order of the tests
  std::optional<int> interrupted_by;
  bool is_loaded = true;  // whether the plug-in loads and makes a layer
};

// All tests, those that others need first.
std::vector<const Test*> AllTests();

// Runs the selected tests, several at a time. Tests that they need are run too, and reported if
// they do not pass. Calls `tell` with each result, in the order of the tests. Throws NamespaceError
// if there is no private namespace, after those that have ended.
Validation RunTests(const Plan& plan, Interruption& interruption,
                    const std::function<void(const TestResult&)>& tell);

}  // namespace devhost
