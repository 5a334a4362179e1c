// Layers that break their contract once requests come: each is told, the layer is released all the
// same, and whether the tunables are back is looked at.

#include <gmock/gmock.h>

#include <string>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* kReleased =
    "\n"
    "kaehost: releasing the layer\n"
    "[do_Release]\n"
    "[layer destroyed]\n"
    "[CleanupPlugin]\n"
    "[plug-in destroyed]\n"
    "\n"
    "kaehost: layer released; all tunables restored\n";

class BrokenLayer : public testing::Test {
 protected:
  Outcome ApplyWith(const std::string& plugin) const {
    Outcome run = Kaehost({"apply", "--verbose", document_, "--plugin", TestPlugin(plugin)});
    EXPECT_EQ(run.err, "");
    return run;
  }

  // What follows the line that announces the request.
  std::string AfterTheRequest(const Outcome& run) const {
    const std::string line = "kaehost: request: " + document_ + "\n";
    const std::size_t found = run.out.find(line);
    EXPECT_NE(found, std::string::npos) << run.out;
    return found != std::string::npos ? run.out.substr(found + line.size()) : "";
  }

  const TempFolder folder_;
  const std::string document_ = folder_.Write("document.xml", "<tcp-settings/>");
};

}  // namespace

TEST_F(BrokenLayer, ThatNeverRepliesIsAFailure) {
  const Outcome run = ApplyWith("silent");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(AfterTheRequest(run),
            std::string("[do_Configure]\n"
                        "\n"
                        "kaehost: reply: none; the layer did not reply to the request\n"
                        "kaehost: ") +
                document_ + ": nothing requested, nothing changed\n" + kReleased);
}

TEST_F(BrokenLayer, ThatNeverRepliesIsShownAlsoIfQuiet) {
  const Outcome run = Kaehost({"apply", "--quiet", document_, "--plugin", TestPlugin("silent")});
  EXPECT_THAT(run.out, HasSubstr("kaehost: reply: none"));
}

TEST_F(BrokenLayer, ThatRepliesTwiceIsHeldToItsFirstReply) {
  const Outcome run = ApplyWith("replies_twice");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(AfterTheRequest(run),
            std::string("[taken]\n"
                        "[refused]\n"
                        "\n"
                        "kaehost: reply: success\n"
                        "kaehost: the layer replied more than once; only its first reply counts\n"
                        "kaehost: ") +
                document_ + ": nothing requested, nothing changed\n" + kReleased);
}

TEST_F(BrokenLayer, ThatErrsTwiceIsHeldToItsFirstReply) {
  const Outcome run = ApplyWith("errs_twice");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(AfterTheRequest(run),
            std::string("\n"
                        "kaehost: reply: error: first: one\n"
                        "kaehost: the layer replied more than once; only its first reply counts\n"
                        "kaehost: ") +
                document_ + ": nothing requested, nothing changed\n" + kReleased);
}

TEST_F(BrokenLayer, ThatThrowsWithoutATextIsAFailure) {
  const Outcome run = ApplyWith("throws_without_a_text");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out,
              HasSubstr("kaehost: the layer's do_Configure threw: an exception without a text\n"));
}

TEST_F(BrokenLayer, OfAPluginThatChangesTunablesAtItsEndIsAFailure) {
  const Outcome run = ApplyWith("changes_at_its_end");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out,
              EndsWith("kaehost: layer released; not restored by the layer, but by kaehost:\n"
                       "  tunable        before  now\n"
                       "  ipv4/tcp_sack  1       0\n"
                       "kaehost: all tunables restored\n"));
}

TEST_F(BrokenLayer, ThatThrowsAfterItsReplyIsAFailure) {
  const Outcome run = ApplyWith("configure_throws");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(AfterTheRequest(run), std::string("[do_Configure]\n\n"
                                              "kaehost: the layer's do_Configure threw: no memory "
                                              "for a value\n"
                                              "kaehost: reply: success\n"
                                              "kaehost: ") +
                                      document_ + ": nothing requested, nothing changed\n" +
                                      kReleased);
}

TEST_F(BrokenLayer, ThatThrowsWhatIsNoExceptionIsReleasedAndRestores) {
  const Outcome run = ApplyWith("configure_throws_oddly");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(AfterTheRequest(run),
            std::string(
                "\n"
                "kaehost: the layer's do_Configure threw: something that is not a std::exception\n"
                "kaehost: reply: none; the layer did not reply to the request\n"
                "  element   outcome     before  asked  now\n"
                "  tcp_sack  overridden  1       -      0\n"
                "kaehost: ") +
                document_ + ": 1 overridden\n" + kReleased);
}

TEST_F(BrokenLayer, ThatThrowsInItsReleaseIsAFailure) {
  const Outcome run = ApplyWith("release_throws");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, EndsWith("kaehost: releasing the layer\n"
                                "[do_Release]\n"
                                "[layer destroyed]\n"
                                "[CleanupPlugin]\n"
                                "[plug-in destroyed]\n"
                                "\n"
                                "kaehost: the layer's do_Release threw: cannot restore\n"
                                "kaehost: all tunables restored\n"));
}

TEST_F(BrokenLayer, ThatHidesTunablesIsSeenToDoSo) {
  const Outcome run = ApplyWith("hides_tunables");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, ContainsRegex("\n  ipv4/tcp_sack +1 +\\(empty\\)\n"));
  EXPECT_THAT(run.out, ContainsRegex("\n  ipv4/tcp_fin_timeout +60 +1\n"));
}

TEST_F(BrokenLayer, ThatRestoresNothingIsAFailureWithATableOfWhatIsNotBack) {
  const std::string table =
      "  tunable                   before       now\n"
      "  ipv4/ip_local_port_range  32768 60999  40000 50000\n"
      "  ipv4/tcp_keepalive_time   7200         5\n"
      "  ipv4/tcp_sack             1            0\n";
  const Outcome run = ApplyWith("restores_nothing");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("  element             outcome     before  asked  now\n"
                                 "  tcp_keepalive_time  overridden  7200    -      5\n"
                                 "  tcp_sack            overridden  1       -      0\n"
                                 "  tcp_port_min        overridden  32768   -      40000\n"
                                 "  tcp_port_max        overridden  60999   -      50000\n"
                                 "kaehost: " +
                                 document_ + ": 4 overridden\n"));
  EXPECT_THAT(run.out, EndsWith("[CleanupPlugin]\n[plug-in destroyed]\n"
                                "\nkaehost: layer released; not restored by the layer, but by "
                                "kaehost:\n" +
                                table + "kaehost: all tunables restored\n"));
}

TEST_F(BrokenLayer, ThatEndsTheProcessIsAFailure) {
  const Outcome run = ApplyWith("exits");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out,
              EndsWith("\nkaehost: the plug-in's process ended with status 0 during request "
                       "1 of 1: " +
                       document_ +
                       "; kaehost restored 0 tunables\n"
                       "kaehost: all tunables restored\n"));
}

TEST_F(BrokenLayer, ThatSpoilsStandardOutputCannotSilenceKaehost) {
  const Outcome run = ApplyWith("spoils_output");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(AfterTheRequest(run), std::string("\n"
                                              "kaehost: reply: success\n"
                                              "kaehost: ") +
                                      document_ + ": nothing requested, nothing changed\n" +
                                      kReleased);
}

TEST_F(BrokenLayer, ThatSpoilsStandardOutputIsQuietIfThatIsRequested) {
  const Outcome run =
      Kaehost({"apply", "--quiet", document_, "--plugin", TestPlugin("spoils_output")});
  EXPECT_THAT(run.out, Not(HasSubstr("[")));
}

TEST_F(BrokenLayer, OfAPluginThatChangesTunablesBeforeAnyRequestIsAFailure) {
  const Outcome run = ApplyWith("changes_when_loaded");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out,
              HasSubstr("kaehost: layer released; not restored by the layer, but by kaehost:\n"
                        "  tunable               before  now\n"
                        "  ipv4/tcp_fin_timeout  60      15\n"
                        "  ipv4/tcp_sack         1       0\n"));
}
