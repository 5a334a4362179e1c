#include "tests/model/player/play.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <iostream>

#include "tests/model/generator/generate.h"
#include "tests/model/player/descriptors.h"
#include "tests/model/player/line_watch.h"
#include "tests/model/player/played_files.h"
#include "tests/model/predictor/surroundings.h"
#include "tests/support/output.h"

namespace model {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

Operation Step(Operation::Kind kind, const std::string& when = "") {
  Operation operation = {};
  operation.kind = kind;
  operation.when = when;
  return operation;
}

Operation Change(const std::string& file, File state, const std::string& when = "") {
  Operation operation = Step(Operation::kChangeFile, when);
  operation.file = file;
  operation.state = std::move(state);
  return operation;
}

Operation Configure(std::vector<Node> document) {
  Operation operation = Step(Operation::kConfigure);
  operation.document = std::move(document);
  return operation;
}

Node Settings(std::vector<Node> children) {
  return {1, Node::kInterned, "tcp-settings", "", std::move(children)};
}

Node Sack(Node::NameKind name_kind, const std::string& value) {
  return {1, name_kind, "tcp_sack", "", {{0, Node::kInterned, "", value, {}}}};
}

int OpenError(const std::string& path, int flags) {
  const int file = open(path.c_str(), flags | O_CLOEXEC, 0666);
  const int error = errno;
  close(file);
  return file >= 0 ? 0 : error;
}

// Two layers see the current files; earlier ones do not matter.
TEST(Player, PutsTheWorldInOrderForEachScenario) {
  const Scenario story = {{{"ipv4/tcp_sack", {File::kText, "1\n"}}},
                          {Step(Operation::kNewLayer), Configure({Settings({})})}};
  Player player;
  const Trace first = player.Play(story);
  for (int kind = File::kText; kind <= File::kFullDevice; ++kind) {
    const File file = {static_cast<File::Kind>(kind), "9"};
    player.Play({{{"ipv4/tcp_sack", file}, {"ipv4/tcp_ecn", file}}, {Step(Operation::kNewLayer)}});
    EXPECT_EQ(player.Play(story), first) << "after kind " << kind;
  }
  EXPECT_THAT(first.files, ElementsAre(Pair("ipv4/tcp_sack", "1")));
}

TEST(Player, LetsOpensFailAsTheKindOfFileSays) {
  for (int number = File::kText; number <= File::kFullDevice; ++number) {
    const auto kind = static_cast<File::Kind>(number);
    TunableTree tree;
    std::map<std::string, File::Kind> standing;
    PlayedFiles files(tree, standing);
    files.Put("ipv4/tcp_sack", {kind, "text"});
    const std::string path = TunableTree::Path("ipv4/tcp_sack");
    EXPECT_EQ(OpenError(path, O_RDONLY), ReadError(kind)) << "kind " << number;
    EXPECT_EQ(OpenError(path, O_WRONLY | O_CREAT | O_TRUNC), WriteError(kind)) << "kind " << number;
  }
}

TEST(Player, KeepsThePromisedTextsOfFiles) {
  TunableTree tree;
  std::map<std::string, File::Kind> standing;
  PlayedFiles files(tree, standing);
  for (const File::Kind kind : {File::kText, File::kReadOnly, File::kWriteProtected}) {
    for (const char* text : {"text", "another"}) {
      files.Put("ipv4/tcp_sack", {kind, text});
      EXPECT_EQ(tree.Read("ipv4/tcp_sack"), text) << "kind " << kind;
    }
  }
  files.Put("ipv4/tcp_sack", {File::kRunningProgram, RunningProgram()});
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), RunningProgram());
  files.Put("ipv4/tcp_sack", {File::kFullDevice, ""});
  EXPECT_EQ(write(open("/proc/sys/net/ipv4/tcp_sack", O_WRONLY | O_CLOEXEC), "1", 1), -1);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "");
}

TEST(Player, TellsOnceOfAFileThatNobodyPutThere) {
  TunableTree tree;
  std::map<std::string, File::Kind> standing;
  PlayedFiles files(tree, standing);
  files.Put("ipv4/tcp_sack", {File::kText, "1"});
  tree.Write("ipv4/tcp_mem_high", "2");
  tree.Write("core/somaxconn", "3");
  EXPECT_THAT(files.Texts(),
              ElementsAre(Pair("core/somaxconn", "3"), Pair("ipv4/tcp_mem_high", "2"),
                          Pair("ipv4/tcp_sack", "1")));
  EXPECT_THAT(files.Texts(), ElementsAre(Pair("ipv4/tcp_sack", "1")));
}

TEST(Player, ChangesAFileAtItsLineAndNoSooner) {
  Player player;
  const Trace trace = player.Play(
      {{},
       {Change("ipv4/tcp_sack", {File::kText, "5"}, "reading previous config..."),
        Change("ipv4/tcp_frto", {File::kText, "6"}, "reading config done"),
        Change("ipv4/tcp_bic", {File::kText, "7"}, "no such line"), Step(Operation::kNewLayer)}});
  EXPECT_THAT(trace.output, HasSubstr("\ntcp_sack = 5\n"));
  EXPECT_THAT(trace.output, Not(HasSubstr("\ntcp_frto = 6\n")));
  EXPECT_THAT(trace.files, ElementsAre(Pair("ipv4/tcp_frto", "0"), Pair("ipv4/tcp_sack", "5")));
}

TEST(Player, ChangesAFileOnce) {
  Player player;
  const std::string line = "received TCP_Settings command";
  const Trace trace =
      player.Play({{},
                   {Step(Operation::kNewLayer), Change("ipv4/tcp_sack", {File::kSocket, ""}, line),
                    Configure({Settings({})}), Change("ipv4/tcp_sack", {File::kText, "8"}),
                    Configure({Settings({})})}});
  EXPECT_THAT(trace.results, ElementsAre(false, true));
  EXPECT_THAT(trace.files, ElementsAre(Pair("ipv4/tcp_sack", "1")));
}

TEST(Player, TakesDescriptorsUntilTheyAreGivenBack) {
  Player player;
  const Trace trace = player.Play(
      {{{"ipv4/tcp_sack", {File::kText, "5"}}},
       {Step(Operation::kTakeDescriptors), Step(Operation::kNewLayer),
        Change("ipv4/tcp_frto", {File::kText, "6"}), Step(Operation::kGiveDescriptors)}});
  EXPECT_THAT(trace.output, HasSubstr("tcp_sack]; error: Too many open files\n"));
  EXPECT_THAT(trace.files, ElementsAre(Pair("ipv4/tcp_frto", "0"), Pair("ipv4/tcp_sack", "1")));
}

TEST(Player, GivesDescriptorsBackWhenTheStoryDoesNot) {
  Player player;
  player.Play({{}, {Step(Operation::kNewLayer), Step(Operation::kTakeDescriptors)}});
  EXPECT_EQ(OpenError("/dev/null", O_RDONLY), 0);
}

TEST(Player, GivesStrayNamesAnAddressOfTheirOwn) {
  Player player;
  const Trace trace =
      player.Play({{},
                   {Step(Operation::kNewLayer),
                    Configure({Settings({Sack(Node::kStray, "3"), Sack(Node::kInterned, "4")})})}});
  EXPECT_THAT(trace.output, Not(HasSubstr("tcp_sack = 3")));
  EXPECT_THAT(trace.output, HasSubstr("Setting new value - tcp_sack = 4\n"));
  EXPECT_THAT(trace.results, ElementsAre(true));
}

TEST(Player, TellsWhereTheOutputStoodAtEachCall) {
  Player player;
  const Trace trace = player.Play({{}, {Step(Operation::kNewLayer), Configure({})}});
  ASSERT_FALSE(trace.calls.empty());
  EXPECT_EQ(trace.calls.front(), std::make_pair(std::string("kaeCPLayer()"), std::size_t{0}));
  const auto& [call, position] = trace.calls[trace.calls.size() - 2];
  EXPECT_EQ(call, "SendSuccess");
  EXPECT_EQ(trace.output.substr(position, 10), "{success}\n");
  EXPECT_EQ(trace.calls.back(), std::make_pair(std::string("~kaeCPLayer"), trace.output.size()));
}

TEST(Player, TakesStandardOutputOnlyForAStory) {
  CapturedOutput output;
  Player player;
  player.Play({{}, {Step(Operation::kNewLayer)}});
  std::puts("mine");
  EXPECT_EQ(output.Take(), "mine\n");
}

TEST(LineWatch, TellsLinesOnceTheyAreFlushed) {
  CapturedOutput output;
  std::vector<std::string> lines;
  LineWatch watch([&](const std::string& line) { lines.push_back(line); });
  watch.Start();
  std::cout << "one\ntwo\nthr";
  EXPECT_THAT(lines, IsEmpty());
  std::cout << std::flush;
  EXPECT_THAT(lines, ElementsAre("one", "two"));
  std::printf("printed\n");
  std::cout << "ee" << std::endl;
  EXPECT_THAT(lines, ElementsAre("one", "two", "three"));
  EXPECT_EQ(output.Take(), "one\ntwo\nthrprinted\nee\n");
}

TEST(LineWatch, TellsNothingOnceItIsStopped) {
  CapturedOutput output;
  std::vector<std::string> lines;
  std::streambuf* const usual = std::cout.rdbuf();
  LineWatch watch([&](const std::string& line) {
    lines.push_back(line);
    watch.Stop();
  });
  watch.Start();
  std::cout << "one\ntwo\n" << std::flush << "three" << std::endl;
  EXPECT_THAT(lines, ElementsAre("one"));
  EXPECT_EQ(std::cout.rdbuf(), usual);
  EXPECT_EQ(output.Take(), "one\ntwo\nthree\n");
}

TEST(Descriptors, AreLentWhileTheyAreTaken) {
  Descriptors descriptors;
  descriptors.Take();
  EXPECT_EQ(OpenError("/dev/null", O_RDONLY), EMFILE);
  {
    const Descriptors::Loan loan(descriptors);
    EXPECT_EQ(OpenError("/dev/null", O_RDONLY), 0);
  }
  EXPECT_EQ(OpenError("/dev/null", O_RDONLY), EMFILE);
  descriptors.GiveBack();
  EXPECT_EQ(OpenError("/dev/null", O_RDONLY), 0);
}

}  // namespace
}  // namespace model
