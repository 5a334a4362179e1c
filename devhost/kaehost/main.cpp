// kaehost: the development host's command line.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "devhost/kaehost/command_line.h"
#include "devhost/kaehost/commands.h"
#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/text/output.h"

using namespace devhost;

namespace {

int Fail(ExitStatus status, const std::string& sentence) {
  TellError(sentence);
  return status;
}

// The exit status after a failure. Before a command runs, nothing was done.
ExitStatus failed = kBadInput;

std::terminate_handler former_terminate_handler = nullptr;

bool IsMemoryMissing() {
  constexpr std::size_t kSome = std::size_t{1} << 20;
  void* volatile some = std::malloc(kSome);  // else a compiler may leave out the call
  if (some == nullptr) {
    return true;
  }
  std::free(some);
  try {
    return std::current_exception() != nullptr && (throw, false);
  } catch (const std::bad_alloc&) {
    return true;
  } catch (...) {
    return false;
  }
}

// Without memory, an exception cannot always be thrown or caught. What is terminated for another
// reason, such as a plug-in's, ends as usual.
[[noreturn]] void SayThatMemoryIsMissing() {
  if (IsMemoryMissing()) {
    for (const std::string_view part : {"kaehost: ", kOutOfMemory, "\n"}) {
      [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, part.data(), part.size());
    }
    _exit(failed);
  }
  former_terminate_handler();
  std::abort();
}

// Runs before the initialisation of the command line's library, which needs memory too.
[[gnu::constructor(101)]] void InstallTerminateHandler() {
  former_terminate_handler = std::set_terminate(SayThatMemoryIsMissing);
}

// A file that is opened, perhaps a tunable, gets the number of a closed standard stream, and then
// what is printed goes there. A path descriptor takes the number instead: reading and writing still
// fail, as with the closed stream.
void FillClosedStandardStreams() {
  int fd = 0;
  while ((fd = open("/", O_PATH)) >= STDIN_FILENO && fd <= STDERR_FILENO) {
  }
  close(fd);
}

// Returns the words after "--" of `kaehost apply`, the user's command. `argc` then ends before
// "--". Other commands have no such words; for them "--" only ends the options. The program's own
// name can be anything, or missing.
std::optional<std::vector<std::string>> TakeProgram(int* argc, char** argv) {
  char** end = argv + *argc;
  char** separator = std::find(argv + std::min(1, *argc), end, std::string_view("--"));
  if (separator == end || std::string_view(argv[1]) != "apply") {
    return std::nullopt;
  }
  *argc = static_cast<int>(separator - argv);
  return std::vector<std::string>(separator + 1, end);
}

struct Command {
  std::string_view name;
  void (*add)(CLI::App& app, Chosen& chosen);
};

constexpr Command kCommands[] = {
    {"apply",    AddApply   },
    {"check",    AddCheck   },
    {"inspect",  AddInspect },
    {"import",   AddImport  },
    {"list",     AddList    },
    {"restore",  AddRestore },
    {"validate", AddValidate},
};

// Adds the command that the first word names: to add all takes longer than to parse the command
// line. If the word names none, adds all, for the help and for what is said about the word.
void AddCommands(std::string_view word, CLI::App& app, Chosen& chosen) {
  const bool is_named = std::any_of(std::begin(kCommands), std::end(kCommands),
                                    [word](const Command& c) { return c.name == word; });
  for (const Command& command : kCommands) {
    if (!is_named || command.name == word) {
      command.add(app, chosen);
    }
  }
}

int Run(const Chosen& chosen) {
  failed = chosen.failed;
  const int status = chosen.run();
  if (!Out().flush()) {
    return Fail(status == kBadInput ? kBadInput : kFailed,
                "cannot write standard output; what it shows is incomplete");
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) try {
  FillClosedStandardStreams();
  std::signal(SIGXFSZ, SIG_IGN);  // a write that fails for its size is reported instead
  Chosen chosen;
  chosen.program = TakeProgram(&argc, argv);
  const std::shared_ptr<CLI::App> app = NewCommandLine(KAETCP_VERSION);
  AddCommands(argc > 1 ? argv[1] : "", *app, chosen);
  Parse(*app, argc, argv, chosen);
  return Run(chosen);
} catch (const std::exception& error) {
  const ExitStatus status = StatusFor(error, failed);
  const bool is_before_requests = status != failed && status != kNoNamespace;
  return Fail(status,
              SentenceOf(error) + std::string(is_before_requests ? "; nothing was delivered" : ""));
}
