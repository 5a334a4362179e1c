// The command line of kaehost, and documents that it does not deliver.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::AllOf;
using testing::HasSubstr;

namespace {

void ExpectBadUsage(const std::vector<std::string>& arguments, const std::string& sentence,
                    const std::string& help = "kaehost apply --help") {
  const Outcome run = Kaehost(arguments);
  EXPECT_EQ(run.status, 2) << sentence;
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "kaehost: " + sentence + "; see " + help + '\n');
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

}  // namespace

TEST(Usage, HelpSaysWhatThereIs) {
  const Outcome run = Kaehost({"--help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, AllOf(HasSubstr("kaehost [OPTIONS] SUBCOMMAND"), HasSubstr("\n  apply ")));
}

TEST(Usage, HelpOfApplyListsItsOptionsAndExitStatuses) {
  const Outcome run = Kaehost({"apply", "--help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, AllOf(HasSubstr("kaehost apply [OPTIONS] DOCUMENT..."),
                             HasSubstr("--as-is "), HasSubstr("--plugin FILE "),
                             HasSubstr("\nExit status:\n  0  "), HasSubstr("\n  1  "),
                             HasSubstr("\n  2  "), HasSubstr("\n  3  "), HasSubstr("\n  77  ")));
}

TEST(Usage, NoSubcommand) { ExpectBadUsage({}, "A subcommand is required", "kaehost --help"); }

TEST(Usage, UnknownSubcommand) {
  ExpectBadUsage({"aply", "x.xml"}, "aply is not understood here", "kaehost --help");
}

TEST(Usage, NoDocument) { ExpectBadUsage({"apply"}, "DOCUMENT is required"); }

TEST(Usage, UnknownOption) {
  ExpectBadUsage({"apply", "--as-it-is", "x.xml"}, "--as-it-is is not understood here");
}

TEST(Usage, OptionBeforeItsSubcommand) {
  ExpectBadUsage({"--as-is", "apply", "x.xml"}, "--as-is is not understood here");
}

TEST(Usage, PluginWithoutItsFile) {
  ExpectBadUsage({"apply", "x.xml", "--plugin"}, "--plugin: 1 required FILE missing");
}

TEST_F(BadDocument, Missing) {
  const std::string path = folder_.Path("nowhere.xml");
  ExpectNothingDelivered({path}, path + ": cannot be read: No such file or directory");
}

TEST_F(BadDocument, Malformed) {
  const std::string bad = folder_.Write("bad.xml", "<tcp-settings>\n<tcp_sack>0</tcp_sak>\n");
  ExpectNothingDelivered({bad}, bad +
                                    ":2: cannot be read as XML: Opening and ending tag mismatch: "
                                    "tcp_sack line 2 and tcp_sak");
}

TEST_F(BadDocument, DeclaringAnEntity) {
  const std::string bad = folder_.Write(
      "bad.xml", "<!DOCTYPE tcp-settings [\n<!ENTITY secret SYSTEM 'file://" +
                     folder_.Write("secret", "0") +
                     "'>\n]>\n<tcp-settings><tcp_sack>&secret;</tcp_sack></tcp-settings>\n");
  ExpectNothingDelivered({bad}, bad +
                                    ":2: a document may not declare entities; remove the "
                                    "declaration and write the text itself where the entity is "
                                    "used");
}

TEST_F(BadDocument, WithAHugeAttribute) {
  const std::string bad =
      folder_.Write("bad.xml", "<tcp-settings>\n<tcp_sack by='" + std::string(100'000, 'x') +
                                   "'>0</tcp_sack></tcp-settings>\n");
  ExpectNothingDelivered({bad}, bad +
                                    ":2: a tag, a comment, a CDATA section, a declaration or the "
                                    "space between them is longer than 64 KiB; shorten it");
}

TEST_F(BadDocument, WithoutAnEnd) {
  ExpectNothingDelivered({"/dev/zero"},
                         "/dev/zero:1: cannot be read as XML: a NUL byte is no part of a document");
}

TEST_F(BadDocument, KeepsTheGoodOnesBeforeItFromBeingDelivered) {
  const std::string empty = folder_.Write("empty.xml", "");
  ExpectNothingDelivered({good_, empty, good_},
                         empty + ":1: cannot be read as XML: Document is empty");
}
