#include "devhost/kaehost/validate/trial_process.h"

#include <nlohmann/json.hpp>

#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/kernel/scratch_files.h"
#include "devhost/kaehost/plugin/plugin.h"
#include "devhost/kaehost/plugin/trace.h"
#include "devhost/kaehost/text/quoting.h"
#include "devhost/kaehost/validate/trial.h"

namespace devhost {
namespace {

constexpr std::size_t kLongest = 2000;  // bytes of a text about a failure

// In the process of the test.

// Since Linux 6.11 a private namespace has them, read-only.
void EnterNamespace() {
  EnterPrivateNamespace();
  RefuseWhereNothingCanBeWritten("allow this user to write /proc/sys in a private namespace");
  MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
}

Json Failed(const std::string& expected, const std::string& seen) {
  return {
      {"result",        Result::kFailed},
      { "expected", Shown(expected,       kLongest)},
      { "seen",     Shown(seen,       kLongest)}
  };
}

Json ResultOf(const Test& test, Trial& trial) {
  try {
    EnterNamespace();
    test.run(trial);
    return {
        {"result", Result::kPassed}
    };
  } catch (const Failure& failure) {
    return Failed(failure.expected, failure.seen);
  } catch (const Skipped& skipped) {
    return {
        {"result",           Result::kSkipped},
        { "why", Shown(skipped.why,        kLongest)}
    };
  } catch (const NamespaceError& error) {
    return {
        {"no_namespace", error.what()}
    };
  } catch (const PluginError& error) {
    return Failed(test.about, error.what());
  } catch (...) {
    return Failed(test.about, "an exception: " + Thrown());
  }
}

// Only after the answer is the plug-in unloaded: a plug-in that crashes then has still failed.
void RunTest(const Test& test, const Plan& plan, const Worker::Orders& orders) {
  Trial trial(plan.plugin, plan.seed, [&orders](const std::string& step) {
    orders.Answer({
        {"step", step}
    });
  });
  Json answer = ResultOf(test, trial);
  answer["knows_tcp_settings"] = KnowsTcpSettings();
  answer["name"] = trial.name;
  answer["version"] = trial.version;
  orders.Answer(answer);
  trial.Unload();
}

}  // namespace

TrialProcess::TrialProcess(const Test& test, const Plan& plan, Interruption& interruption)
    : test_(test),
      deadline_(begin_ + plan.timeout),
      worker_([&](const Worker::Orders& orders) { RunTest(test, plan, orders); }, interruption) {}

TrialProcess::~TrialProcess() { worker_.Kill(); }

void TrialProcess::Stop() {
  is_stopped_ = true;
  worker_.Kill();
}

TestResult TrialProcess::Finish() {
  TestResult result{.test = &test_, .result = Result::kCrashed};
  result.time = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin_);
  result.step = "starting the test";
  std::string later;  // a step after the result
  bool has_result = false;
  while (const std::optional<Json> answer = worker_.Answer()) {
    if (answer->contains("no_namespace")) {
      throw NamespaceError((*answer)["no_namespace"].get<std::string>());
    }
    if (answer->contains("step")) {
      (has_result ? later : result.step) = (*answer)["step"];
    } else if (answer->contains("result")) {
      has_result = true;
      result.result = (*answer)["result"].get<Result>();
      result.expected = answer->value("expected", "");
      result.seen = answer->value("seen", "");
      result.why = answer->value("why", "");
      name_ = answer->value("name", "");
      version_ = answer->value("version", "");
      knows_tcp_settings_ = answer->value("knows_tcp_settings", false);
    }
  }
  if ((!worker_.HasEndedWell() && result.result != Result::kFailed) || !has_result) {
    result.result = is_stopped_ ? Result::kTimedOut : Result::kCrashed;
    result.end = is_stopped_ ? "" : worker_.AboutEnd();
    result.step = has_result ? later : result.step;
  }
  return result;
}

}  // namespace devhost
