// kaehost apply and signals: what ends a session early, and what its command gets.

#include <gmock/gmock.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class Interruption : public testing::Test {
 protected:
  std::string Document(const std::string& name) const {
    return folder_.Write(name, "<tcp-settings/>");
  }

  static std::string NotDelivered(const std::string& document) {
    return "kaehost: interrupted; not delivered: " + document + "\n";
  }

  const TempFolder folder_;
  const std::string first_ = Document("first.xml");
  const std::string second_ = Document("second.xml");
  const std::string third_ = Document("third.xml");
};

// A terminal that controls the processes of kaehost.
class Terminal {
 public:
  Terminal() { EXPECT_EQ(openpty(&end_, &slave_, nullptr, nullptr, nullptr), 0); }
  ~Terminal() {
    close(end_);
    close(slave_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  // For `prepare`.
  void Control() const {
    setsid();
    ioctl(slave_, TIOCSCTTY, 0);
    dup2(slave_, STDIN_FILENO);
    dup2(slave_, STDOUT_FILENO);
  }

  void Type(const std::string& keys) const {
    EXPECT_EQ(write(end_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }

  // Reads until it shows `text`.
  void AwaitText(const std::string& text) {
    char piece[4096];
    ssize_t size = 0;
    while (shown_.find(text) == std::string::npos && (size = read(end_, piece, sizeof piece)) > 0) {
      shown_.append(piece, static_cast<std::size_t>(size));
    }
  }

  const std::string& shown() const { return shown_; }

 private:
  int end_ = -1;
  int slave_ = -1;
  std::string shown_;
};

}  // namespace

TEST_F(Interruption, BeforeTheFirstRequestLeavesOutAllDocuments) {
  const Outcome run =
      Kaehost({"apply", first_, second_, "--plugin", TestPlugin("interrupts_when_loaded")});
  EXPECT_EQ(run.status, 128 + SIGTERM);
  EXPECT_THAT(run.out, HasSubstr(NotDelivered(first_) + NotDelivered(second_)));
}

TEST_F(Interruption, NamesEachDocumentThatIsNotDelivered) {
  for (const std::string option : {"--verbose", "--quiet"}) {
    const Outcome run = Kaehost(
        {"apply", option, first_, second_, third_, "--plugin", TestPlugin("interrupts_its_host")});
    EXPECT_EQ(run.status, 128 + SIGTERM);
    EXPECT_THAT(run.out, HasSubstr("kaehost: " + first_ + ": nothing"));
    EXPECT_THAT(run.out, HasSubstr(NotDelivered(second_) + NotDelivered(third_)));
  }
}

TEST_F(Interruption, CountsByItsFirstSignal) {
  const Outcome run =
      Kaehost({"apply", first_, second_, "--plugin", TestPlugin("interrupts_twice")});
  EXPECT_EQ(run.status, 128 + SIGHUP);
}

TEST_F(Interruption, IsNotBySignalsThatNohupIgnores) {
  const Outcome run =
      Kaehost({"apply", first_, second_, "--plugin", TestPlugin("interrupts_twice")},
              [] { std::signal(SIGHUP, SIG_IGN); });
  EXPECT_EQ(run.status, 128 + SIGTERM);
}

TEST_F(Interruption, CountsLessThanAnErrorReply) {
  const Outcome run = Kaehost({"apply", first_, "--plugin", TestPlugin("fails_interrupted")});
  EXPECT_EQ(run.status, 1);
}

// The command is in a session of its own: the terminal's signal reaches kaehost only, although
// usually it reaches both.
TEST_F(Interruption, ByTheTerminalIsNotSentToTheCommandAgain) {
  Terminal terminal;
  const std::string script =
      "trap 'echo interrupted' INT; trap 'exit 9' TERM; echo ready; "
      "while :; do sleep 0.01; done";
  RunningKaehost kaehost({"apply", "--quiet", first_, "--", "setsid", "sh", "-c", script},
                         [&terminal] { terminal.Control(); });
  terminal.AwaitText("ready\r\n");
  terminal.Type("\x03");
  terminal.AwaitText("^C");  // shown after the signal is sent
  kill(kaehost.pid(), SIGTERM);
  EXPECT_EQ(kaehost.Finish().status, 9);
  terminal.Type("end\n");
  terminal.AwaitText("end\r\n");
  EXPECT_THAT(terminal.shown(), Not(HasSubstr("interrupted")));
}

TEST_F(Interruption, ByTheTerminalEndsACommandThatIsStopped) {
  Terminal terminal;
  const std::string script =
      "trap 'exit 9' INT; (trap '' INT; until grep -q '^State:.*T' /proc/$$/status; do sleep 0.01; "
      "done; echo stopped) & kill -STOP $$; sleep 60";
  RunningKaehost kaehost({"apply", "--quiet", first_, "--", "sh", "-c", script},
                         [&terminal] { terminal.Control(); });
  terminal.AwaitText("stopped\r\n");
  terminal.Type("\x03");
  EXPECT_EQ(kaehost.Finish().status, 9);
}
