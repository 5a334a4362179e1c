#pragma once

#include <string>
#include <vector>

#include "devhost/kaehost/validate/runner.h"

namespace devhost {

// The result as one word, or two.
const char* WordFor(Result result);

// What is wrong, or why the test was skipped, in one sentence; empty for a test that passed.
std::string AboutResult(const TestResult& result);

// "40 tests: 39 passed, 1 skipped"
std::string AboutCounts(const Validation& validation);

// Prints a result for people.
void Tell(const TestResult& result);

// Prints the results of tests that need one that did not pass, as one if there are several.
void TellBlocked(const std::vector<TestResult>& results);

// Prints the tests, and what each tests.
void TellTests(const std::vector<const Test*>& tests);

// Returns the fields of `kaehost validate --json`.
std::string JsonReport(const Plan& plan, const Validation& validation, int status);

// Returns the text of a JUnit XML document.
std::string JUnitReport(const Plan& plan, const Validation& validation);

// The kernel, its release and processor: "Linux 6.18.5 x86_64".
std::string ThisKernel();

}  // namespace devhost
