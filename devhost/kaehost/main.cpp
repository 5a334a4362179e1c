// kaehost: the development host's command line.

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "devhost/kaehost/command.h"
#include "devhost/kaehost/plugin.h"
#include "devhost/kaehost/sandbox.h"
#include "devhost/libe/document.h"

using namespace devhost;

namespace {

int Fail(ExitStatus status, const std::string& sentence) {
  std::cerr << "kaehost: " << sentence << '\n';
  return status;
}

// What is unknown explains a bad command line better than what is missing.
int FailUsage(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> unknown = app.remaining(true);
  std::string help = "kaehost --help";
  for (const CLI::App* command : app.get_subcommands()) {
    help = "kaehost " + command->get_name() + " --help";
  }
  return Fail(kBadInput,
              (unknown.empty() ? error.what() : unknown.front() + " is not understood here") +
                  "; see " + help);
}

// Where a standard stream is closed, the next file that is opened, a tunable perhaps, would take
// its number and receive what is printed.
void FillClosedStandardStreams() {
  int fd = 0;
  while ((fd = open("/dev/null", O_RDWR)) >= STDIN_FILENO && fd <= STDERR_FILENO) {
  }
  close(fd);
}

int Run(const Chosen& chosen) {
  const int status = chosen();
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    return Fail(kFailed, "standard output cannot be written; what it shows is not all");
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) try {
  FillClosedStandardStreams();
  Chosen chosen;
  CLI::App app("Tries configuration documents on a real kernel, without risk to the machine.",
               "kaehost");
  app.require_subcommand(1);
  AddApply(app, chosen);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    return FailUsage(app, error);
  }
  return Run(chosen);
} catch (const DocumentError& error) {
  return Fail(kBadInput, std::string(error.what()) + "; nothing was delivered");
} catch (const PluginError& error) {
  return Fail(kNoPlugin, std::string(error.what()) + "; nothing was delivered");
} catch (const NamespaceError& error) {
  return Fail(kNoSandbox, error.what());
} catch (const std::exception& error) {
  return Fail(kFailed, error.what());
}
