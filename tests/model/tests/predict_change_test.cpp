#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/model/predictor/predict.h"
#include "tests/model/tests/story_verbs.h"

namespace model {

TEST(ModelOfChanges, LetsAChangeWaitForALineOfTheStreamOnce) {
  const Trace trace =
      Predict({{{"ipv4/tcp_bic", Text("3")}, {"ipv4/tcp_sack", Text("0")}},
               {Change("ipv4/tcp_sack", Text("4"), "reading previous config..."),
                TakeDescriptors("tcp_bic = 3"), NewLayer(),
                Change("ipv4/tcp_sack", {File::kLoop, ""}, "writing config..."),
                Change("ipv4/tcp_sack", Text("z"), "config done"), Configure({Settings({})})}});

  const std::string error = "Too many levels of symbolic links";
  EXPECT_EQ(
      Told(trace),
      (Lines{"",
             "reading previous config...",
             "tcp_bic = 3",
             "tcp_sack = 4",
             "reading config done",
             "",
             "setting to previous values",
             "received TCP_Settings command",
             "",
             "writing config...",
             "tcp_bic = 3",
             "file write error: [/proc/sys/net/ipv4/tcp_sack]: " + error,
             "",
             "setting to previous values",
             "",
             "writing config...",
             "tcp_bic = 3",
             "error opening stream for write - file [/proc/sys/net/ipv4/tcp_sack]; error: " + error,
             "config done",
             "{error \"file error\" \"[/proc/sys/net/ipv4/tcp_sack]: " + error + "\"}",
             "",
             "setting to previous values",
             "",
             "writing config...",
             "tcp_bic = 3",
             "tcp_sack = 4",
             "config done"}));
}

TEST(ModelOfChanges, LetsChangesForOneLineHappenInTheOrderOfTheStory) {
  const std::string line = "reading config done";
  const Trace changed = Predict({{},
                                 {Change("ipv4/tcp_sack", Text("1"), line), TakeDescriptors(line),
                                  Change("ipv4/tcp_sack", Text("2"), line), NewLayer()}});
  EXPECT_EQ(changed.files.at("ipv4/tcp_sack"), "2");

  const Trace given = Predict(
      {{}, {TakeDescriptors(line), GiveDescriptors(line), NewLayer(), Configure({Settings({})})}});
  EXPECT_EQ(given.results, std::vector<bool>{true});
}

TEST(ModelOfChanges, LetsAChangeWaitForALineWithinAValue) {
  const Trace trace = Predict({{},
                               {Change("ipv4/tcp_sack", {File::kLoop, ""}, "2"), NewLayer(),
                                Configure({Settings({Value("tcp_ecn", "1\n2\n3")})})}});

  EXPECT_EQ(trace.results, std::vector<bool>{false});
}

TEST(ModelOfChanges, LetsNoChangeHappenAtAReplyOfTheHost) {
  const Trace trace = Predict(
      {{}, {TakeDescriptors("{success}"), NewLayer(), Configure({}), Configure({Settings({})})}});

  EXPECT_EQ(trace.results, (std::vector<bool>{true, true}));
}

TEST(ModelOfChanges, GivesEachLayerASnapshotOfItsOwnAndReleasesThoseLeftInOrder) {
  const Trace trace = Predict(
      {{{"ipv4/tcp_sack", Text("a")}},
       {NewLayer(), Change("ipv4/tcp_sack", Text("b")), NewLayer(),
        Change("ipv4/tcp_sack", Text("c")), NewLayer(), Release(1), Call(Operation::kStart, 2),
        Call(Operation::kStop, 2), Configure({Settings({})}, 2)}});

  Lines values;
  for (const std::string& line : Told(trace)) {
    if (line.rfind("tcp_sack", 0) == 0) {
      values.push_back(line);
    }
  }
  EXPECT_EQ(values, (Lines{"tcp_sack = a", "tcp_sack = b", "tcp_sack = c", "tcp_sack = b",
                           "tcp_sack = c", "tcp_sack = a", "tcp_sack = c"}));
  EXPECT_EQ(trace.files.at("ipv4/tcp_sack"), "c");
}

}  // namespace model
