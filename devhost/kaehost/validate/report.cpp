#include "devhost/kaehost/validate/report.h"

#include <sys/utsname.h>

#include <algorithm>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <ostream>

#include "devhost/kaehost/text/characters.h"
#include "devhost/kaehost/text/colour.h"
#include "devhost/kaehost/text/json.h"
#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

constexpr Result kResults[] = {Result::kPassed, Result::kFailed, Result::kCrashed,
                               Result::kTimedOut, Result::kSkipped};

long CountOf(const Validation& validation, Result wanted) {
  return std::count_if(validation.results.begin(), validation.results.end(),
                       [wanted](const TestResult& result) { return result.result == wanted; });
}

Json OrNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

Json ToJson(const TestResult& result) {
  const bool has_failed = result.result == Result::kFailed;
  return {
      {"test",     result.test->name                                },
      {"about",    result.test->about                               },
      {"result",   WordFor(result.result)                           },
      {"expected", has_failed ? Json(result.expected) : Json()      },
      {"seen",     has_failed ? Json(result.seen) : Json()          },
      {"why",      OrNull(result.why)                               },
      {"step",     IsBad(result.result) ? Json(result.step) : Json()},
      {"end",      OrNull(result.end)                               },
      {"time_us",  result.time.count()                              }
  };
}

}  // namespace

const char* WordFor(Result result) {
  switch (result) {
    case Result::kPassed:
      return "passed";
    case Result::kFailed:
      return "failed";
    case Result::kSkipped:
      return "skipped";
    case Result::kCrashed:
      return "crashed";
    case Result::kTimedOut:
      return "timed out";
  }
  return "";
}

std::string AboutResult(const TestResult& result) {
  switch (result.result) {
    case Result::kPassed:
      return "";
    case Result::kFailed:
      return "expected: " + result.expected + "; seen: " + result.seen +
             "; last step: " + result.step;
    case Result::kSkipped:
      return result.why;
    case Result::kCrashed:
      return "the process " + result.end + "; last step: " + result.step;
    case Result::kTimedOut:
      return "last step: " + result.step;
  }
  return "";
}

std::string AboutCounts(const Validation& validation) {
  std::string text = std::to_string(validation.results.size()) +
                     (validation.results.size() == 1 ? " test" : " tests");
  const char* separator = ": ";
  for (const Result result : kResults) {
    if (const long count = CountOf(validation, result)) {
      text += separator + std::to_string(count) + " " + WordFor(result);
      separator = ", ";
    }
  }
  return text;
}

void Tell(const TestResult& result) {
  constexpr std::size_t kWidth = 11;
  const std::string word = WordFor(result.result);
  const Colour colour = IsBad(result.result)                ? Colour::kRed
                        : result.result == Result::kSkipped ? Colour::kYellow
                                                            : Colour::kGreen;
  Out() << Painted(word, colour) << std::string(kWidth - word.size(), ' ') << result.test->name
        << '\n';
  const auto tell = [](const char* title, const std::string& text) {
    if (!text.empty()) {
      Out() << "  " << std::left << std::setw(kWidth) << title << Visible(text) << '\n';
    }
  };
  if (result.result == Result::kFailed) {
    tell("expected:", result.expected);
    tell("seen:", result.seen);
  }
  tell("because", result.why);
  tell("the process", result.end.empty() ? "" : " " + result.end);
  if (IsBad(result.result)) {
    tell("last step:", result.step);
  }
  Out() << std::flush;
}

void TellBlocked(const std::vector<TestResult>& results) {
  if (results.size() == 1) {
    Tell(results[0]);
  } else if (!results.empty()) {
    Out() << Painted(WordFor(Result::kSkipped), Colour::kYellow) << "    " << results.size()
          << " other tests\n  because    " << results[0].why << '\n';
  }
}

void TellTests(const std::vector<const Test*>& tests) {
  for (const Test* test : tests) {
    constexpr int kWidth = 38;
    Out() << std::left << std::setw(kWidth) << test->name << test->about << '\n';
  }
}

std::string ThisKernel() {
  utsname found = {};
  uname(&found);
  return std::string(found.sysname) + " " + found.release + " " + found.machine;
}

std::string JsonReport(const Plan& plan, const Validation& validation, int status) {
  Json tests = Json::array();
  for (const TestResult& result : validation.results) {
    tests.push_back(ToJson(result));
  }
  Json counts = Json::object();
  for (const Result result : kResults) {
    counts[WordFor(result)] = CountOf(validation, result);
  }
  return JsonText({
      {"error",          nullptr                                                              },
      {"plugin",         plan.plugin                                                          },
      {"name",           OrNull(validation.name)                                              },
      {"version",        OrNull(validation.version)                                           },
      {"kernel",         ThisKernel()                                                         },
      {"seed",           plan.seed                                                            },
      {"tests",          tests                                                                },
      {"counts",         counts                                                               },
      {"interrupted_by", validation.interrupted_by ? Json(*validation.interrupted_by) : Json()},
      {"status",         status                                                               }
  });
}

}  // namespace devhost
