#include "bench/programs.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "bench/private_kernel.h"

namespace bench {
namespace {

// A request writes the whole catalogue, whatever its document contains.
void WriteSettings(const std::string& path) {
  std::ofstream file(path);
  std::string key;
  for (const SystemCall& call : CallsOf("request")) {
    if (call.name == "openat") {
      key = call.path.substr(std::string("/proc/sys/").size());
    } else if (call.name == "write" && call.fd != STDOUT_FILENO) {
      file << key << " = " << call.text << '\n';
    }
  }
}

}  // namespace

Inputs::Inputs() {
  const auto folder = std::filesystem::temp_directory_path();
  const std::string name = "kaetcp-bench-" + std::to_string(getpid());
  settings = folder / (name + ".conf");
  document = folder / (name + ".xml");
  WriteSettings(settings);
  std::ofstream(document) << "<tcp-settings><tcp_sack>0</tcp_sack>"
                             "<tcp_rmem_default>5000</tcp_rmem_default></tcp-settings>";
}

Inputs::~Inputs() {
  std::filesystem::remove(settings);
  std::filesystem::remove(document);
}

std::string RunProgram(std::vector<std::string> words) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    throw std::runtime_error("cannot create a pipe");
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
  pid_t child = 0;
  const int error =
      posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  std::string printed;
  char some[256];
  for (ssize_t count = 0; (count = read(ends[0], some, sizeof some)) > 0;) {
    printed.append(some, static_cast<std::size_t>(count));
  }
  close(ends[0]);
  int status = 0;
  if (error != 0 || waitpid(child, &status, 0) != child || status != 0) {
    throw std::runtime_error("failed: " + words[0] + ": " + printed);
  }
  return printed;
}

}  // namespace bench
