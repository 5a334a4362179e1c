#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "devhost/kaehost/process/worker.h"
#include "devhost/kaehost/validate/runner.h"
#include "devhost/kaehost/validate/test.h"

namespace devhost {

// A test that runs in a process of its own.
class TrialProcess {
 public:
  using Clock = std::chrono::steady_clock;

  TrialProcess(const Test& test, const Plan& plan, Interruption& interruption);

  // Kills the process, if it has not ended.
  ~TrialProcess();
  TrialProcess(const TrialProcess&) = delete;
  TrialProcess& operator=(const TrialProcess&) = delete;

  const Test& test() const { return test_; }

  // Readable when the process has ended.
  int end() const { return worker_.end(); }
  bool HasEnded() const { return worker_.HasEnded(); }

  Clock::time_point deadline() const { return deadline_; }

  // Kills it, because it is out of time.
  void Stop();

  // What the test and its process told, once it has ended. Throws NamespaceError if it had no
  // private namespace.
  TestResult Finish();

  // After Finish: what the test found out about the plug-in.
  const std::string& name() const { return name_; }
  const std::string& version() const { return version_; }
  bool knows_tcp_settings() const { return knows_tcp_settings_; }

 private:
  const Test& test_;
  const Clock::time_point begin_ = Clock::now();
  const Clock::time_point deadline_;
  Worker worker_;
  bool is_stopped_ = false;
  std::string name_;
  std::string version_;
  bool knows_tcp_settings_ = false;
};

}  // namespace devhost
