#include "devhost/kaehost/validate/runner.h"

#include <poll.h>

#include <algorithm>
#include <list>
#include <map>
#include <thread>

#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/validate/trial_process.h"

namespace devhost {
namespace {

using Clock = TrialProcess::Clock;

bool IsFirst(const Test* test) {
  return test >= FirstTests().data() && test < FirstTests().data() + FirstTests().size();
}

// A run of tests on a number of processors.
class Run {
 public:
  Run(const Plan& plan, Interruption& interruption,
      const std::function<void(const TestResult&)>& tell)
      : plan_(plan), interruption_(interruption), tell_(tell) {}

  Validation All() {
    try {
      RunFirstTests();
      RunOthers();
    } catch (const NamespaceError&) {
      TellRest();
      throw;
    }
    TellRest();
    validation_.interrupted_by = interruption_.Came();
    return std::move(validation_);
  }

 private:
  // One after the other: each needs the one before.
  void RunFirstTests() {
    for (const Test& test : FirstTests()) {
      const bool is_needed = std::any_of(
          plan_.selected.begin(), plan_.selected.end(),
          [&](const Test* other) { return other == &test || other->needs > test.needs; });
      if (!is_needed || interruption_.Came()) {
        continue;
      }
      if (test.needs > shown_) {
        Keep(SkippedFor(test, WhyNot(test)));
        continue;
      }
      Start(test);
      while (!running_.empty()) {
        AwaitOne();
      }
      const auto found = results_.find(&test);
      if (found == results_.end()) {  // it was interrupted
        continue;
      }
      if (found->second.result == Result::kPassed) {
        shown_ = static_cast<Needs>(static_cast<int>(test.needs) + 1);
      } else if (test.needs < Needs::kLayer) {
        validation_.is_loaded = false;
      }
    }
    if (shown_ == Needs::kReply && is_for_tcp_settings_) {
      shown_ = Needs::kCatalogue;
    }
    TellInOrder();
  }

  void RunOthers() {
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    for (const Test* test : plan_.selected) {
      if (IsFirst(test)) {
        continue;
      }
      const std::string why = WhyNot(*test);
      if (!why.empty()) {
        Keep(SkippedFor(*test, why));
        continue;
      }
      while (running_.size() >= processors && !interruption_.Came()) {
        AwaitOne();
      }
      if (interruption_.Came()) {
        break;
      }
      Start(*test);
    }
    while (!running_.empty()) {
      AwaitOne();
    }
  }

  // Why a test cannot be run, empty if it can.
  std::string WhyNot(const Test& test) const {
    if (test.needs <= shown_) {
      return "";
    }
    if (shown_ == Needs::kReply) {
      return "the plug-in is not for tcp-settings documents";
    }
    return std::string("the test ") + FirstTests()[static_cast<std::size_t>(shown_)].name +
           " did not pass";
  }

  TestResult SkippedFor(const Test& test, const std::string& why) const {
    return {.test = &test,
            .result = Result::kSkipped,
            .why = why,
            .is_blocked = shown_ < Needs::kReply};
  }

  void Start(const Test& test) { running_.emplace_back(test, plan_, interruption_); }

  // Waits until at least one test has ended.
  void AwaitOne() {
    constexpr int kTick = 50;  // in milliseconds, for signals and deadlines
    std::vector<pollfd> ends;
    for (const TrialProcess& process : running_) {
      ends.push_back({process.end(), POLLIN, 0});
    }
    while (poll(ends.data(), ends.size(), kTick) <= 0) {
      for (TrialProcess& process : running_) {
        if (interruption_.Came() || Clock::now() >= process.deadline()) {
          process.Stop();
        }
      }
    }
    for (auto process = running_.begin(); process != running_.end();) {
      if (!process->HasEnded()) {
        ++process;
        continue;
      }
      Finish(*process);
      process = running_.erase(process);
    }
  }

  void Finish(TrialProcess& process) {
    TestResult result = process.Finish();
    if (validation_.name.empty()) {
      validation_.name = process.name();
      validation_.version = process.version();
    }
    // Before the first request, only the plug-in has used the name.
    is_for_tcp_settings_ = is_for_tcp_settings_ || validation_.name == "TCP" ||
                           (process.test().needs < Needs::kRelease && process.knows_tcp_settings());
    if (!interruption_.Came()) {  // what it interrupted is no result
      Keep(std::move(result));
    }
  }

  void Keep(TestResult result) {
    const Test* test = result.test;
    results_[test] = std::move(result);
    if (!IsFirst(test)) {
      TellInOrder();
    }
  }

  bool IsSelected(const Test* test) const {
    return std::find(plan_.selected.begin(), plan_.selected.end(), test) != plan_.selected.end();
  }

  // Until one is missing.
  void TellInOrder() {
    const std::vector<const Test*> all = AllTests();
    while (told_ < all.size() && (results_.contains(all[told_]) || !IsSelected(all[told_]))) {
      TellNext(all);
    }
  }

  // After a run that ended early, also those behind one that is missing.
  void TellRest() {
    for (const std::vector<const Test*> all = AllTests(); told_ < all.size();) {
      TellNext(all);
    }
  }

  // A test that was not selected is told if it does not pass.
  void TellNext(const std::vector<const Test*>& all) {
    const auto found = results_.find(all[told_++]);
    if (found != results_.end() && (IsSelected(found->first) || IsBad(found->second.result))) {
      tell_(found->second);
      validation_.results.push_back(found->second);
    }
  }

  const Plan& plan_;
  Interruption& interruption_;
  const std::function<void(const TestResult&)>& tell_;
  Needs shown_ = Needs::kFile;
  bool is_for_tcp_settings_ = false;
  std::list<TrialProcess> running_;
  std::map<const Test*, TestResult> results_;
  std::size_t told_ = 0;
  Validation validation_;
};

}  // namespace

bool IsBad(Result result) { return result != Result::kPassed && result != Result::kSkipped; }

std::vector<const Test*> AllTests() {
  std::vector<const Test*> all;
  for (const std::span<const Test> tests :
       {FirstTests(), LibraryTests(), LayerTests(), RequestTests(), ObstacleTests(), HostTests()}) {
    for (const Test& test : tests) {
      all.push_back(&test);
    }
  }
  return all;
}

Validation RunTests(const Plan& plan, Interruption& interruption,
                    const std::function<void(const TestResult&)>& tell) {
  return Run(plan, interruption, tell).All();
}

}  // namespace devhost
