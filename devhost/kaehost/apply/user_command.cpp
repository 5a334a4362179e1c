#include "devhost/kaehost/apply/user_command.h"

#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

constexpr int kCannotBeRun = 126;
constexpr int kNotFound = 127;

std::vector<char*> Arguments(std::vector<std::string>& words) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  return arguments;
}

// Returns the error number. The program gets signals as if kaehost did not exist.
int Spawn(pid_t* child, std::vector<std::string> words, const sigset_t& mask,
          bool to_standard_output) {
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t defaults;
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGPIPE);
  sigaddset(&defaults, SIGXFSZ);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  posix_spawnattr_setsigmask(&attributes, &mask);
  posix_spawnattr_setsigdefault(&attributes, &defaults);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (!to_standard_output) {
    posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
  }
  const std::vector<char*> arguments = Arguments(words);
  const int error =
      posix_spawnp(child, arguments[0], &actions, &attributes, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  return error;
}

}  // namespace

int RunUserCommand(const std::vector<std::string>& words, Interruption& interruption,
                   bool to_standard_output) {
  pid_t child = 0;
  const int error = Spawn(&child, words, interruption.mask_before(), to_standard_output);
  if (error != 0) {
    TellError(words[0] + ": cannot run: " + std::strerror(error));
    return error == ENOENT ? kNotFound : kCannotBeRun;
  }
  return interruption.AwaitEnd(child);
}

}  // namespace devhost
