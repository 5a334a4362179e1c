// The command line of kaehost, and documents that it does not deliver.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

void ExpectBadUsage(const std::vector<std::string>& arguments, const std::string& sentence,
                    const std::string& help = "kaehost apply --help") {
  const Outcome run = Kaehost(arguments);
  EXPECT_EQ(run.status, 2) << sentence;
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "kaehost: " + sentence + "\nTry '" + help + "' for more information.\n");
}

class BadDocument : public testing::Test {
 protected:
  // Expects that nothing happens but that `sentence` is said.
  static void ExpectNothingDelivered(const std::vector<std::string>& documents,
                                     const std::string& sentence) {
    std::vector<std::string> arguments = {"apply"};
    arguments.insert(arguments.end(), documents.begin(), documents.end());
    const Outcome run = Kaehost(arguments);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "kaehost: " + sentence + "; nothing was delivered\n");
  }

  const TempFolder folder_;
  const std::string good_ = folder_.Write("good.xml", "<tcp-settings/>");
};

using Operands = BadDocument;

}  // namespace

TEST(Usage, HelpSaysWhatThereIs) {
  const Outcome run = Kaehost({"--help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, AllOf(StartsWith("Tries TCP/IP settings documents on a real kernel"),
                             HasSubstr("\nUsage: kaehost [OPTIONS] COMMAND [ARGUMENT]...\n"),
                             HasSubstr("\n  -h, --help "), HasSubstr("\n  --version "),
                             HasSubstr("\nCommands:\n  apply ")));
}

TEST(Usage, HelpOfApplyListsItsOptionsAndExitStatuses) {
  const Outcome run = Kaehost({"apply", "--help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, AllOf(HasSubstr("\nUsage: kaehost apply [OPTIONS] DOCUMENT... "
                                       "[-- COMMAND ARG...]\n"),
                             HasSubstr("--as-is "), HasSubstr("--plugin=FILE "),
                             HasSubstr("\nExit status:\n  0  "), HasSubstr("\n  1  "),
                             HasSubstr("\n  2  "), HasSubstr("\n  3  "), HasSubstr("\n  77  ")));
}

TEST(Usage, LinesOfHelpFitOnATerminal) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--help"},
                                                    {"apply", "--help"},
                                                    {"check", "--help"},
                                                    {"import", "--help"},
                                                    {"inspect", "--help"},
                                                    {"list", "--help"},
                                                    {"restore", "--help"},
                                                    {"validate", "--help"}}) {
    std::istringstream lines(Kaehost(arguments).out);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
      EXPECT_LE(line.size(), 80U) << line;
    }
    EXPECT_GT(count, 10);
  }
}

TEST(Usage, VersionIsTheProjects) {
  const Outcome run = Kaehost({"--version"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out, "kaehost (kaetcp) " KAETCP_VERSION "\n");
}

TEST(Usage, NoCommand) { ExpectBadUsage({}, "missing command", "kaehost --help"); }

TEST(Usage, UnknownCommand) {
  ExpectBadUsage({"aply", "x.xml"}, "unrecognized command 'aply'", "kaehost --help");
}

TEST(Usage, NoDocument) { ExpectBadUsage({"apply"}, "missing document operand"); }

TEST(Usage, OneOperandTooMany) {
  ExpectBadUsage({"inspect", "a.so", "b.so"}, "extra operand 'b.so'", "kaehost inspect --help");
}

TEST(Usage, UnknownOption) {
  ExpectBadUsage({"apply", "--as-it-is", "x.xml"}, "unrecognized option '--as-it-is'");
  ExpectBadUsage({"apply", "--as-it-is=1", "x.xml"}, "unrecognized option '--as-it-is=1'");
  ExpectBadUsage({"apply", "-x", "x.xml"}, "invalid option -- 'x'");
}

TEST(Usage, OptionBeforeItsCommand) {
  ExpectBadUsage({"--as-is", "apply", "x.xml"}, "unrecognized option '--as-is'");
}

TEST(Usage, OptionWithoutItsArgument) {
  ExpectBadUsage({"apply", "x.xml", "--plugin"}, "option '--plugin' requires an argument");
}

TEST(Usage, OptionWithAnArgumentThatItDoesNotTake) {
  ExpectBadUsage({"apply", "--live=false", "x.xml"}, "option '--live' doesn't allow an argument");
}

// "--netns=" must not take the document for the name.
TEST(Usage, OptionWithAnEmptyArgument) {
  ExpectBadUsage(
      {"apply", "--netns=", "x.xml"},
      "--netns: the name is empty; name a network namespace, or leave the option out for "
      "a private one");
}

TEST(Usage, OptionWithAnEmptyNameOfAFile) {
  const auto expect = [](const std::string& command, const std::string& option) {
    ExpectBadUsage({command, option + '=', "x.xml"},
                   option + ": the name is empty; name a file, or leave the option out",
                   "kaehost " + command + " --help");
  };
  expect("apply", "--plugin");
  expect("apply", "--netns-file");
  expect("import", "--output");
  expect("validate", "--junit");
}

TEST(Usage, EmptyOperand) {
  const auto expect = [](const std::string& command, const std::string& operand) {
    ExpectBadUsage({command, ""},
                   operand + ": the name is empty; write one, or leave the operand out",
                   "kaehost " + command + " --help");
  };
  expect("apply", "DOCUMENT");
  expect("check", "DOCUMENT");
  expect("import", "FILE");
  expect("inspect", "PLUGIN");
  expect("list", "ELEMENT");
  expect("validate", "PLUGIN");
  ExpectBadUsage({"check", "x.xml", "", "y.xml"},
                 "DOCUMENT: the name is empty; write one, or leave the operand out",
                 "kaehost check --help");
}

TEST(Usage, OptionWithAWrongSeed) {
  for (const std::string seed : {"", "x", "7x", "-1", "4294967296"}) {
    ExpectBadUsage({"validate", "--list", "--seed=" + seed},
                   "--seed: \"" + seed + "\" is not a number from 0 to 4294967295",
                   "kaehost validate --help");
  }
}

TEST(Usage, OptionWithANumberOutOfItsRange) {
  for (const std::string number : {"0", "3601", "1x"}) {
    ExpectBadUsage({"apply", "--kill-after", number, "x.xml"},
                   "--kill-after: Value " + number + " not in range 1 to 3600");
  }
}

TEST_F(Operands, CannotGoToTwoFiles) {
  const std::string output = folder_.Path("output.xml");
  ExpectBadUsage({"import", "--output", output, "--output", output, good_},
                 "option '--output' can be given only once", "kaehost import --help");
  EXPECT_FALSE(std::filesystem::exists(output));
}

TEST(Usage, OptionsThatAreMutuallyExclusive) {
  for (const std::string other : {"--json", "--quiet"}) {
    ExpectBadUsage({"apply", "--verbose", other, "x.xml"},
                   "options '" + other + "' and '--verbose' are mutually exclusive");
  }
}

TEST_F(Operands, CanBeGivenWithTheOptionOrAfterIt) {
  for (const std::vector<std::string>& option : {std::vector<std::string>{"--plugin=/nowhere.so"},
                                                 {"--plugin", "/nowhere.so"},
                                                 {"--plugin=x.so", "--plugin=/nowhere.so"}}) {
    std::vector<std::string> arguments = {"apply", good_};
    arguments.insert(arguments.end(), option.begin(), option.end());
    const Outcome run = Kaehost(arguments);
    EXPECT_EQ(run.status, 3);
    EXPECT_THAT(run.err, StartsWith("kaehost: /nowhere.so: the plug-in does not load: "));
  }
}

// For the other commands, words after "--" are operands.
TEST_F(Operands, FollowDashes) {
  const Outcome run = Kaehost({"check", "--", good_});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr(good_));
  EXPECT_THAT(Kaehost({"inspect", "--", "/nowhere.so"}).err, StartsWith("kaehost: /nowhere.so: "));
}

// Standard input has the bytes, the working folder a file with this name.
TEST_F(Operands, AreStandardInputIfTheyAreADash) {
  folder_.Write("-", "<x/>");
  const std::string path = folder_.Write("typed", "<tcp-settings>\n<tcp_sac/></tcp-settings>");
  const auto prepare = [&] {
    dup2(open(path.c_str(), O_RDONLY), STDIN_FILENO);
    std::filesystem::current_path(folder_.Path(""));
  };
  EXPECT_EQ(Kaehost({"check", "-"}, prepare).out,
            "standard input:2:1: tcp_sac: unknown element; did you mean tcp_sack?\n"
            "kaehost: standard input: 1 finding\n");
  EXPECT_THAT(Kaehost({"check", "./-"}, prepare).out, StartsWith("./-:1:1: x: not tcp-settings"));
  const Outcome run = Kaehost({"apply", "-"}, prepare);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, AllOf(HasSubstr("\nkaehost: request: standard input\n"),
                             HasSubstr("\nkaehost: standard input: ")));
  EXPECT_THAT(Kaehost({"apply", "--json", "-"}, prepare).out, HasSubstr("\"document\": \"-\""));
  EXPECT_EQ(
      Kaehost({"apply", "-"}, [] { close(STDIN_FILENO); }).err,
      "kaehost: standard input: cannot be read: Bad file descriptor; nothing was delivered\n");
}

TEST_F(Operands, AreStandardInputOnlyOnce) {
  for (const std::string command : {"apply", "check", "import"}) {
    ExpectBadUsage({command, "-", good_, "-"},
                   "'-' is there twice, but standard input can be read only once; a file of this "
                   "name is './-'",
                   "kaehost " + command + " --help");
  }
}

// As the shell's `exec -a` gives it, or execve without any argument.
TEST_F(Operands, DoNotIncludeTheNameOfTheProgram) {
  const auto run_as = [this](const char* name) {
    return [this, name] { execl(KAEHOST, name, "check", "--quiet", good_.c_str(), nullptr); };
  };
  for (const char* name : {"--", "apply", ""}) {
    const Outcome run = Kaehost({}, run_as(name));
    EXPECT_EQ(run.status, 0) << name << run.err;
  }
  const Outcome run = Kaehost({"apply"}, [] { execl(KAEHOST, "--", nullptr); });
  EXPECT_EQ(run.err, "kaehost: missing command\nTry 'kaehost --help' for more information.\n");
  char* const none[] = {nullptr};
  EXPECT_EQ(Kaehost({"apply"}, [&] { execv(KAEHOST, none); }).err, run.err);
}

TEST_F(BadDocument, Missing) {
  const std::string path = folder_.Path("nowhere.xml");
  ExpectNothingDelivered({path}, path + ": cannot be read: No such file or directory");
}

TEST_F(BadDocument, Malformed) {
  const std::string bad = folder_.Write("bad.xml", "<tcp-settings>\n<tcp_sack>0</tcp_sak>\n");
  ExpectNothingDelivered({bad}, bad +
                                    ":2:14: cannot be read as XML: the end tag </tcp_sak> does not "
                                    "match <tcp_sack> in line 2; write </tcp_sack>");
}

TEST_F(BadDocument, DeclaringAnEntity) {
  const std::string bad = folder_.Write(
      "bad.xml", "<!DOCTYPE tcp-settings [\n<!ENTITY secret SYSTEM 'file://" +
                     folder_.Write("secret", "0") +
                     "'>\n]>\n<tcp-settings><tcp_sack>&secret;</tcp_sack></tcp-settings>\n");
  ExpectNothingDelivered({bad}, bad +
                                    ":2:1: a document may not declare entities; remove the "
                                    "declaration and write the text itself where the entity is "
                                    "used");
}

TEST_F(BadDocument, WithAHugeAttribute) {
  const std::string bad =
      folder_.Write("bad.xml", "<tcp-settings>\n<tcp_sack by='" + std::string(100'000, 'x') +
                                   "'>0</tcp_sack></tcp-settings>\n");
  ExpectNothingDelivered({bad}, bad +
                                    ":2:1: a tag, a comment, a processing instruction or a "
                                    "document type declaration is longer than 64 KiB; shorten it");
}

TEST_F(BadDocument, WithoutAnEnd) {
  ExpectNothingDelivered(
      {"/dev/zero"},
      "/dev/zero:1:1: cannot be read as XML: the document contains a NUL byte; remove it");
}

TEST_F(BadDocument, KeepsTheGoodOnesBeforeItFromBeingDelivered) {
  const std::string empty = folder_.Write("empty.xml", "");
  ExpectNothingDelivered(
      {good_, empty, good_},
      empty + ":1:1: cannot be read as XML: the document has no element; write a root element");
}
