// What the obstacles leave behind when the process that made them is killed.

#include "tests/support/obstacles.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

#include "tests/support/soon.h"

namespace {

constexpr int kNoSuchProgram = 2;

// Starts the obstacles' program in a process that is then killed.
[[noreturn]] void StartProgramAndDie(const std::string& folder) {
  setpgid(0, 0);
  try {
    ObeyFileModes();
    Obstacles obstacles(folder);
    obstacles.Program();
    std::raise(SIGKILL);
  } catch (const std::system_error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    _exit(EXIT_FAILURE);
  } catch (const std::runtime_error&) {
    _exit(kNoSuchProgram);
  }
  _exit(EXIT_FAILURE);
}

// The status of the next child that ends, or -1 when all that are left live on.
int NextStatus() {
  int status = 0;
  return Soon([&status] { return waitpid(-1, &status, WNOHANG) > 0; }) ? status : -1;
}

TEST(Obstacles, TheirProgramDiesWithAKilledProcess) {
  std::string folder = std::filesystem::temp_directory_path() / "obstacles.XXXXXX";
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  // The program of the killed process becomes a child of this one.
  ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
  const pid_t child = fork();
  if (child == 0) {
    StartProgramAndDie(folder + "/made");
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  // Where a running program can be written, the obstacles end theirs at once.
  if (!WIFEXITED(status) || WEXITSTATUS(status) != kNoSuchProgram) {
    ASSERT_TRUE(WIFSIGNALED(status));
    const int program = NextStatus();
    EXPECT_TRUE(program != -1 && WIFSIGNALED(program) && WTERMSIG(program) == SIGKILL);
  }
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a process is left";
  kill(-child, SIGKILL);
  std::filesystem::remove_all(folder);
}

}  // namespace
