// A long life in a short time: very many requests through one layer, and very many layers one after
// the other, with nothing growing and nothing changing.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "devhost/kaehost/kernel/namespaces.h"
#include "tests/endurance/cycles.h"
#include "tests/endurance/hosted.h"
#include "tests/endurance/requests.h"
#include "tests/support/namespace.h"
#include "tests/support/output.h"

namespace {

// Begins the process anew without malloc's cache: what lies in it counts as in use, and is now
// this, now that. Without it, heap in use is exact.
void DoWithoutMallocCache(char** argv) {
  constexpr const char* kTunables = "GLIBC_TUNABLES";
  constexpr const char* kNoCache = "glibc.malloc.tcache_count=0";
  const char* tunables = std::getenv(kTunables);
  if (tunables == nullptr || std::strcmp(tunables, kNoCache) != 0) {
    setenv(kTunables, kNoCache, 1);
    const std::string program = std::filesystem::read_symlink("/proc/self/exe");
    execv(program.c_str(), argv);
    throw std::system_error(errno, std::generic_category(), program);
  }
}

// Every cycle checks the replies of all its requests and the files after one of them; in as many
// cycles as there are requests in one, the files have been checked after each.
void EndureRequests(std::FILE* out, CapturedOutput& captured, std::size_t wanted,
                    const Values& snapshot) {
  TunableTree tree;
  Fill(tree, FilesOf(snapshot));
  const std::vector<Step> steps = RequestCycle(snapshot);
  HostedLayer layer;
  layer.Start();
  Endure(out, captured, wanted, {"requests", steps.size(), [&](std::size_t cycle) {
                                   for (std::size_t i = 0; i < steps.size(); ++i) {
                                     Deliver(steps[i], layer, tree, i == cycle % steps.size());
                                   }
                                 }});
  layer.Stop();
  layer.Release();
  CheckFiles(tree, FilesOf(snapshot));
}

// Lives of layers, in cycles: most begin and end, some do more between. Each leaves the files to
// the next as it found them.
class Lives {
 public:
  static constexpr std::size_t kPerCycle = 8;

  explicit Lives(const Values& snapshot) : files_(FilesOf(snapshot)) {
    Fill(tree_, files_);
    for (Step& step : RequestCycle(snapshot)) {
      (step.reply == devhost::Reply::kError ? refused_ : served_).push_back(std::move(step));
    }
  }

  void Cycle() {
    for (int i = 0; i < 3; ++i) {
      BeginAndEnd();
    }
    Serve();
    Refuse();
    FindAFileMissing();
    TwoAtOnce();
    CheckFiles(tree_, files_);
  }

 private:
  static void BeginAndEnd() {
    HostedLayer layer;
    layer.Start();
    layer.Stop();
  }

  void Serve() {
    HostedLayer layer;
    Deliver(served_.front(), layer, tree_, true);
    Deliver(served_.at(1), layer, tree_, true);
  }

  void Refuse() {
    HostedLayer layer;
    Deliver(refused_.front(), layer, tree_, true);
  }

  // Such a file gets the default at the end.
  void FindAFileMissing() {
    const std::string file = "ipv4/tcp_sack";
    tree_.MakeMissing(file);
    HostedLayer layer;
    tree_.Write(file, "");
    layer.Release();
    CheckFiles(tree_, {{file, "1"}});
    tree_.Write(file, files_.at(file));
  }

  // The later one, which has found the earlier one's values, ends first.
  void TwoAtOnce() {
    HostedLayer early;
    Deliver(served_.front(), early, tree_, false);
    HostedLayer late;
    late.Release();
    CheckFiles(tree_, served_.front().files);
  }

  Files files_;
  TunableTree tree_;
  std::vector<Step> served_;
  std::vector<Step> refused_;
};

void EndureLayers(std::FILE* out, CapturedOutput& captured, std::size_t wanted,
                  const Values& snapshot) {
  Lives lives(snapshot);
  Endure(out, captured, wanted, {"layers", Lives::kPerCycle, [&](std::size_t) { lives.Cycle(); }});
}

void EndureAll(std::size_t requests, std::size_t layers) {
  // Output goes through a buffer as on a device, where standard output is no terminal.
  std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
  std::FILE* out = fdopen(dup(STDOUT_FILENO), "w");
  const Values snapshot = DistinctValues("3");
  CapturedOutput captured;
  if (requests > 0) {
    EndureRequests(out, captured, requests, snapshot);
  }
  if (layers > 0) {
    EndureLayers(out, captured, layers, snapshot);
  }
  std::fputs("nothing has grown, and every cycle printed the same\n", out);
  std::fclose(out);
}

}  // namespace

int main(int argc, char** argv) try {
  std::size_t requests = 1'000'000;
  std::size_t layers = 100'000;
  CLI::App app(
      "Delivers requests to one layer, makes and releases layers, and fails when memory, "
      "descriptors or output grow or change.");
  app.add_option("--requests", requests, "How many requests at least, 0 for none")
      ->capture_default_str();
  app.add_option("--layers", layers, "How many layers at least, 0 for none")->capture_default_str();
  CLI11_PARSE(app, argc, argv);
  DoWithoutMallocCache(argv);
  EnterPrivateNamespace();
  EndureAll(requests, layers);
  return EXIT_SUCCESS;
} catch (const devhost::NamespaceError& error) {
  return Skip(error.what());
} catch (const std::exception& error) {
  std::fprintf(stderr, "endurance: %s\n", error.what());
  return EXIT_FAILURE;
}
