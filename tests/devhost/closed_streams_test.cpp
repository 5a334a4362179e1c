// kaehost with standard streams that are closed: an error if it needs them, and no file gets what
// it prints.

#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::StartsWith;

namespace {

const std::string kOutputLost =
    "kaehost: cannot write standard output; what it shows is incomplete\n";

void CloseInput() { close(STDIN_FILENO); }
void CloseOutput() { close(STDOUT_FILENO); }
void CloseErrors() { close(STDERR_FILENO); }
void CloseInputAndOutput() {
  CloseInput();
  CloseOutput();
}
void CloseAll() {
  CloseInputAndOutput();
  CloseErrors();
}

std::string Content(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

class ClosedStreams : public testing::Test {
 protected:
  const TempFolder folder_;
  const std::string settings_ = folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\n");
  const std::string document_ =
      folder_.Write("document.xml", "<tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>");
  const std::string output_ = folder_.Path("output.xml");
};

}  // namespace

TEST_F(ClosedStreams, AreAnErrorIfOutputIsLost) {
  for (const auto& [arguments, status] : {
           std::pair{std::vector<std::string>{"--help"}, 1},
           std::pair{std::vector<std::string>{"apply", "--help"}, 1},
           std::pair{std::vector<std::string>{"apply", document_}, 1},
           std::pair{std::vector<std::string>{"apply", "--json", document_}, 1},
           std::pair{std::vector<std::string>{"check", document_}, 1},
           std::pair{std::vector<std::string>{"check", "--json", document_}, 1},
           std::pair{std::vector<std::string>{"inspect"}, 1},
           std::pair{std::vector<std::string>{"import", "--quiet", settings_}, 2},
           std::pair{std::vector<std::string>{"import", "--json", settings_}, 2},
           std::pair{std::vector<std::string>{"import", "--json", "--output", output_, settings_},
                     1},
       }) {
    for (auto* const close_streams : {CloseOutput, CloseInputAndOutput}) {
      const Outcome run = Kaehost(arguments, close_streams);
      EXPECT_EQ(run.status, status) << testing::PrintToString(arguments);
      EXPECT_EQ(run.err, kOutputLost) << testing::PrintToString(arguments);
    }
  }
}

TEST_F(ClosedStreams, AreNoErrorIfNothingIsPrinted) {
  EXPECT_EQ(Kaehost({"check", "--quiet", document_}, CloseAll).status, 0);
  EXPECT_EQ(Kaehost({"import", "--output", output_, settings_}, CloseAll).status, 0);
  EXPECT_THAT(Content(output_), StartsWith("<tcp-settings>\n  <tcp_sack>0</tcp_sack>\n</tcp"));
}

TEST_F(ClosedStreams, CannotBeRead) {
  const Outcome run = Kaehost({"import", "-"}, CloseInput);
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "kaehost: standard input: cannot read: Bad file descriptor; there is no document\n");
  EXPECT_EQ(Kaehost({"check", "-"}, CloseInput).err,
            "kaehost: standard input: cannot be read: Bad file descriptor\n");
}

TEST_F(ClosedStreams, KeepTheExitStatusIfOnlyErrorsAreLost) {
  EXPECT_EQ(Kaehost({"import", folder_.Write("unknown.conf", "x = 1\n")}, CloseErrors).status, 1);
  EXPECT_EQ(Kaehost({"check", folder_.Path("missing.xml")}, CloseErrors).status, 2);
}

// Otherwise a file that the command opens, perhaps a tunable, would get what it prints.
TEST_F(ClosedStreams, AreNotFreeForFilesOfTheCommand) {
  const std::string all_taken =
      "cd /proc/$$/fd && [ -e 0 ] && [ -e 1 ] && [ -e 2 ] && : >" + output_;
  Kaehost({"apply", document_, "--", "sh", "-c", all_taken}, CloseAll);
  EXPECT_TRUE(std::filesystem::exists(output_));
}
