#include "devhost/kaehost/plugin/trace.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>

#include "devhost/kaehost/plugin/open_calls.h"
#include "devhost/kaehost/plugin/plugin_error.h"
#include "devhost/kaehost/text/json.h"
#include "devhost/kaehost/text/quoting.h"

namespace devhost {
namespace {

TraceForm the_form = TraceForm::kNone;

// Of calls into the plug-in: outside of them, the main thread opens files for this program.
std::atomic<int> depth = 0;

// What cannot be written is lost.
void Write(const std::string& line) {
  for (std::size_t begin = 0; begin < line.size();) {
    const ssize_t size = write(STDERR_FILENO, line.data() + begin, line.size() - begin);
    if (size < 0 && errno != EINTR) {
      break;
    }
    begin += static_cast<std::size_t>(std::max(size, ssize_t{0}));
  }
}

void Trace(const Json& json, const std::string& text) {
  constexpr std::size_t kLongest = 500;
  if (the_form == TraceForm::kJson) {
    Write(JsonText(json, -1) + '\n');
  } else if (the_form == TraceForm::kText) {
    Write("trace: " + Shown(text, kLongest) + '\n');
  }
}

std::string Joined(const std::vector<std::string>& arguments) {
  std::string text;
  for (const std::string& argument : arguments) {
    text += (text.empty() ? "" : ", ") + argument;
  }
  return '(' + text + ')';
}

void TraceHostCall(const char* call, const std::vector<std::string>& arguments,
                   const std::string& result) {
  Trace(
      {
          {"host_call", call     },
          {"arguments", arguments},
          {"result",    result   }
  },
      "  " + std::string(call) + Joined(arguments) + " = " + result);
}

// Only a call for a tunable is done by another thread: others can wait for each other.
std::optional<int> OpenTraced(const Watch& watch, const OpenCall& call) {
  if (depth == 0 && call.thread == getpid()) {
    return std::nullopt;
  }
  std::optional<int> result;
  if (call.path.starts_with("/proc/sys/net/") && call.CanRunHere()) {
    result =
        watch.open_file ? watch.open_file(call.path, [&call] { return call.Run(); }) : call.Run();
  }
  const char* error = result.value_or(0) < 0 ? std::strerror(-*result) : nullptr;
  Trace(
      {
          {"open",   call.path                              },
          {"writes", call.writes                            },
          {"error",  error != nullptr ? Json(error) : Json()}
  },
      "  open " + call.path + (call.writes ? " for writing" : " for reading") +
          (error != nullptr ? std::string(": ") + error : ""));
  return result;
}

}  // namespace

void StartWatch(const Watch& watch) {
  the_form = watch.trace;
  if (!watch.IsNeeded()) {
    return;
  }
  if (watch.trace != TraceForm::kNone) {
    SetObserver(TraceHostCall);
    std::signal(SIGPIPE, SIG_IGN);  // if nobody reads the trace, the plug-in goes on
  }
  const auto open = [watch](const OpenCall& call) { return OpenTraced(watch, call); };
  const int error = TakeOverOpenCalls(open);
  if (error != 0 && watch.open_file) {
    throw PluginError(std::string("cannot let files fail to open: ") + std::strerror(error) +
                      "; leave out --fail");
  }
  if (error != 0) {
    const std::string sentence =
        std::string("cannot trace the files that the plug-in opens: ") + std::strerror(error);
    Trace(
        {
            {"sentence", sentence}
    },
        sentence);
  }
}

std::string Thrown() {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return "out of memory";
  } catch (const std::exception& error) {
    const char* text = error.what();
    return text != nullptr ? text : "an exception without a text";
  } catch (...) {
    return "something that is not a std::exception";
  }
}

bool IsTracing() { return the_form != TraceForm::kNone; }

void TraceCall(const char* name, std::initializer_list<std::string> arguments) {
  ++depth;
  if (!IsTracing()) {
    return;
  }
  Trace(
      {
          {"plugin_call", name                  },
          {"arguments",   std::vector(arguments)}
  },
      name + Joined(arguments));
}

void TraceReturn(const char* name, const std::string& result) {
  --depth;
  if (!IsTracing()) {
    return;
  }
  Trace(
      {
          {"plugin_return", name   },
          {"result",        result },
          {"thrown",        nullptr}
  },
      std::string(name) + (result.empty() ? " returned" : " returned " + result));
}

void TraceException(const char* name, const std::string& thrown) {
  --depth;
  if (!IsTracing()) {
    return;
  }
  Trace(
      {
          {"plugin_return", name   },
          {"result",        nullptr},
          {"thrown",        thrown }
  },
      std::string(name) + " threw: " + thrown);
}

}  // namespace devhost
