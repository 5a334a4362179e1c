// What a plug-in does with the process of its host: standard output, descriptors, threads.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <iostream>

#include "devhost/kaehost/validate/prediction.h"
#include "devhost/kaehost/validate/trial.h"

namespace devhost {
namespace {

namespace fs = std::filesystem;

// A life while standard output is `output`, or closed if that is negative.
void ExpectLifeWithOutput(Trial& trial, int output) {
  const Layer layer = trial.NewLayer();
  const Tunables before = ReadTunables();
  const Settings settings = {
      {"tcp_sack",        "0" },
      {"tcp_fin_timeout", "30"}
  };
  const Tunables expected = Prediction(before).Set(settings).AfterWriting();
  const int former = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  output < 0 ? close(STDOUT_FILENO) : dup2(output, STDOUT_FILENO);
  const Answer answer = trial.Configure(layer, settings);
  const Tunables after = ReadTunables();
  trial.Release(layer);
  dup2(former, STDOUT_FILENO);
  std::cout.clear();
  ExpectSuccess(answer);
  ExpectTunables("after a request", expected, after);
  ExpectTunables("after do_Release", before);
}

void WorksWithClosedOutput(Trial& trial) { ExpectLifeWithOutput(trial, -1); }

void WorksWithFullOutput(Trial& trial) {
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  if (full < 0) {
    throw Skipped{"cannot open /dev/full"};
  }
  ExpectLifeWithOutput(trial, full);
}

void PrintsItsProgress(Trial& trial) {
  std::string text;
  {
    const PrintedText printed;
    trial.LeadALife();
    text = printed.Output();
  }
  std::size_t at = 0;
  for (const char* line : {"\nreading previous config...\n", "tcp_sack = ", "reading config done\n",
                           "\nsetting to previous values\n", "received TCP_Settings command\n",
                           "Setting new value - tcp_sack = 0\n", "\nwriting config...\n",
                           "tcp_sack = 0\n", "config done\n", "\nsetting to previous values\n",
                           "\nwriting config...\n", "config done\n"}) {
    const std::size_t found = text.find(line, at);
    Expect(found != std::string::npos, std::string("in this order, the plug-in prints: ") + line,
           "the line is not there");
    at = found + 1;
  }
}

void PrintsNoErrors(Trial& trial) {
  std::string text;
  {
    const PrintedText printed;
    trial.LeadALife();
    text = printed.Errors();
  }
  ExpectText("on standard error, the plug-in prints", "", text);
}

std::size_t CountIn(const char* folder) {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder)) {
    ++count;
  }
  return count;
}

void ClosesItsFiles(Trial& trial) {
  const Layer layer = trial.NewLayer();
  const std::size_t before = CountIn("/proc/self/fd");
  for (int i = 0; i < 3; ++i) {
    trial.Configure(layer, {
                               {"tcp_sack", "0"}
    });
    ExpectText("open files after a request:", std::to_string(before),
               std::to_string(CountIn("/proc/self/fd")));
  }
  trial.Release(layer);
}

void StartsNoThread(Trial& trial) {
  const std::size_t before = CountIn("/proc/self/task");
  const Layer layer = trial.NewLayer();
  trial.Configure(layer, {
                             {"tcp_sack", "0"}
  });
  ExpectText("threads after a request:", std::to_string(before),
             std::to_string(CountIn("/proc/self/task")));
  trial.Release(layer);
}

// Signals, working folder, locale, file mode mask.
std::string StateOfProcess() {
  std::error_code deleted;
  std::string state = "working folder " + fs::current_path(deleted).string();
  const mode_t mask = umask(0);
  umask(mask);
  state += ", file mode mask " + std::to_string(mask);
  state += std::string(", locale ") + std::setlocale(LC_ALL, nullptr);
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_DFL) {
      state += ", signal " + std::to_string(signal) +
               (action.sa_handler == SIG_IGN ? " ignored" : " handled");
    }
  }
  return state;
}

void LeavesTheProcessAsItIs(Trial& trial) {
  const std::string before = StateOfProcess();
  trial.LeadALife();
  ExpectText("after a life, the state of the process is", before, StateOfProcess());
}

constexpr Test kTests[] = {
    {"works-with-closed-output",    "with standard output closed, values and reply are the same",
     Needs::kCatalogue,                                                                                              WorksWithClosedOutput},
    {"works-with-full-output",      "with standard output full, values and reply are the same",
     Needs::kCatalogue,                                                                                              WorksWithFullOutput  },
    {"prints-its-progress",         "the lines of a life are printed in their order",             Needs::kCatalogue,
     PrintsItsProgress                                                                                                                    },
    {"prints-no-errors",            "nothing is printed on standard error",                       Needs::kCatalogue, PrintsNoErrors       },
    {"closes-its-files",            "a request leaves no file open",                              Needs::kReply,     ClosesItsFiles       },
    {"starts-no-thread",            "the plug-in starts no threads",                              Needs::kReply,     StartsNoThread       },
    {"leaves-the-process-as-it-is", "signals, working folder, locale and mask stay",              Needs::kReply,
     LeavesTheProcessAsItIs                                                                                                               },
};

}  // namespace

std::span<const Test> HostTests() { return kTests; }

}  // namespace devhost
