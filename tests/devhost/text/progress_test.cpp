// The line of progress and what is printed meanwhile.

#include "devhost/kaehost/text/progress.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <ostream>
#include <string>

#include "devhost/kaehost/text/output.h"
#include "tests/devhost/support/terminal.h"

namespace {

constexpr const char* kLine = "\r\x1b[K\x1b[?7l[##########          ] 1/2 step\x1b[?7h";

constexpr unsigned kPause = 110'000;

using Act = void (*)(devhost::Progress& progress);

// Shows a line on the terminal, acts and ends. For a process of its own.
[[noreturn]] void ShowAnd(Act act, const Terminal& terminal) {
  terminal.TakeErrors();
  {
    devhost::Progress progress("step", 2);
    usleep(kPause);
    progress.Advance();
    act(progress);
  }
  _exit(0);
}

}  // namespace

TEST(Progress, IsNotForATerminalWithoutEscapes) {
  Terminal terminal;
  EXPECT_EXIT(
      {
        terminal.TakeErrors();
        setenv("TERM", "dumb", 1);
        devhost::Progress progress("step", 1);
        usleep(kPause);
        progress.Advance();
        _exit(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_EQ(terminal.Shown(), "");
}

TEST(Progress, HasALineOfItsOwn) {
  const auto shown_after = [](Act act) {
    Terminal terminal;
    EXPECT_EXIT(ShowAnd(act, terminal), testing::ExitedWithCode(0), "");
    return terminal.Shown();
  };
  const std::string line = kLine;
  EXPECT_EQ(shown_after([](auto&) {}), line + "\r\x1b[K");
  EXPECT_EQ(shown_after([](auto&) { devhost::TellError("news"); }),
            line + "\r\x1b[Kkaehost: news\r\n");
  EXPECT_EQ(shown_after([](auto&) {
              dup2(STDERR_FILENO, STDOUT_FILENO);
              devhost::Out() << "news" << std::endl << std::flush;
            }),
            line + "\r\x1b[Knews\r\n");
  EXPECT_EQ(shown_after([](auto& progress) {
              usleep(kPause);
              progress.Advance();
            }),
            line + "\r\x1b[K\x1b[?7l[####################] 2/2 step\x1b[?7h\r\x1b[K");
}
