// kaehost: the development host's command line.

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "devhost/kaehost/apply.h"
#include "devhost/kaehost/plugin.h"
#include "devhost/kaehost/sandbox.h"
#include "devhost/libe/document.h"

using namespace devhost;

namespace {

constexpr const char* kExitStatuses =
    "Exit status:\n"
    "  0   every request was answered with success, every tunable is back\n"
    "  1   an error reply, no reply, a tunable that is not back, or any other failure\n"
    "  2   the command line or a document is bad; nothing was delivered\n"
    "  3   the plug-in does not load or makes no layer; nothing was delivered\n"
    "  77  no private namespace is to be had";

// The plug-in that lies beside this program.
std::string DefaultPlugin() {
  return std::filesystem::read_symlink("/proc/self/exe").replace_filename("libkaetcp.so");
}

int Fail(ExitStatus status, const std::string& sentence) {
  std::cerr << "kaehost: " << sentence << '\n';
  return status;
}

// What is unknown explains a bad command line better than what is missing.
int FailUsage(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> unknown = app.remaining(true);
  return Fail(kBadInput,
              (unknown.empty() ? error.what() : unknown.front() + " is not understood here") +
                  "; see kaehost --help and kaehost apply --help");
}

// Where a standard stream is closed, the next file that is opened, a tunable perhaps, would take
// its number and receive what is printed.
void FillClosedStandardStreams() {
  int fd = 0;
  while ((fd = open("/dev/null", O_RDWR)) >= STDIN_FILENO && fd <= STDERR_FILENO) {
  }
  close(fd);
}

// Lives while the plug-in may be running.
struct Applying {
  Applying() { there_is_one = true; }
  ~Applying() { there_is_one = false; }
  static inline bool there_is_one = false;
};

// A plug-in that ends the process must not end it with success.
void FailIfApplying() {
  if (Applying::there_is_one) {
    std::fflush(stdout);
    std::fputs("kaehost: the plug-in ended the process\n", stderr);
    _exit(kFailed);
  }
}

int Run(const ApplyOptions& options) {
  std::atexit(FailIfApplying);
  const Applying applying;
  const ExitStatus status = Apply(options);
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    return Fail(kFailed, "standard output cannot be written; what it shows is not all");
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) try {
  FillClosedStandardStreams();
  CLI::App app("Tries configuration documents on a real kernel, without risk to the machine.",
               "kaehost");
  app.require_subcommand(1);
  app.footer(kExitStatuses);
  ApplyOptions options;
  options.plugin = DefaultPlugin();
  CLI::App* apply = app.add_subcommand(
      "apply", "Deliver documents to the plug-in in a private namespace, then restore");
  apply->add_option("DOCUMENT", options.documents, "XML file; each is one request, in order")
      ->required();
  apply->add_flag("--as-is", options.as_is,
                  "Leave core/rmem_max and core/wmem_max read-only, as the kernel has them");
  apply
      ->add_option("--netns", options.netns,
                   "Not in a private namespace but in this network namespace: a name of ip netns, "
                   "or a path")
      ->type_name("NAME");
  apply
      ->add_option("--plugin", options.plugin,
                   "The plug-in to load, by default libkaetcp.so beside this program")
      ->type_name("FILE");
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    return FailUsage(app, error);
  }
  return Run(options);
} catch (const DocumentError& error) {
  return Fail(kBadInput, std::string(error.what()) + "; nothing was delivered");
} catch (const PluginError& error) {
  return Fail(kNoPlugin, std::string(error.what()) + "; nothing was delivered");
} catch (const NamespaceError& error) {
  return Fail(kNoSandbox, error.what());
} catch (const std::exception& error) {
  return Fail(kFailed, error.what());
}
