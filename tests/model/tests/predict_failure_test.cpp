#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/model/predictor/predict.h"
#include "tests/model/tests/story_verbs.h"
#include "tests/model/tests/told_stories.h"

namespace model {

namespace {

// A kind of file, its error for reading (empty if it opens), and its error for writing.
struct Obstacle {
  File file;
  std::string value;  // of tcp_sack after the snapshot
  std::string reading;
  std::string writing;
};

const std::vector<Obstacle> kObstacles = {
    {{File::kMissing, ""}, "1", "No such file or directory", "No such file or directory"},
    {{File::kFolder, ""}, "1", "", "Is a directory"},
    {{File::kLoop, ""},
     "1",
     "Too many levels of symbolic links",
     "Too many levels of symbolic links"},
    {{File::kSocket, ""}, "1", "No such device or address", "No such device or address"},
    {{File::kBelowAFile, ""}, "1", "Not a directory", "Not a directory"},
    {{File::kReadOnly, "6 7"}, "6", "", "Read-only file system"},
    {{File::kWriteProtected, "6 7"}, "6", "", "Permission denied"},
    {{File::kSealed, "6 7"}, "1", "Permission denied", "Permission denied"},
    {{File::kRunningProgram, "6 7"}, "6", "", "Text file busy"},
    {{File::kFullDevice, ""}, "1", "", ""},
    {{File::kText, "6 7"}, "6", "", ""},
};

}  // namespace

TEST(ModelOfFailures, RollsBackAndThenNamesTheFileThatFailed) {
  const Trace trace = Predict(
      {{{"core/rmem_max", Text("1")},
        {"ipv4/tcp_sack", {File::kWriteProtected, "0"}},
        {"ipv4/tcp_stdurg", Text("3")}},
       {NewLayer(),
        Configure({Settings({Value("rmem_max", "2"), Value("tcp_stdurg", "4")}), Settings({})})}});

  const std::string file = "/proc/sys/net/ipv4/tcp_sack";
  const Lines rollback = {
      "",
      "setting to previous values",
      "",
      "writing config...",
      "rmem_max = 1",
      "error opening stream for write - file [" + file + "]; error: Permission denied",
      "tcp_stdurg = 3",
      "config done"};
  EXPECT_EQ(Told(trace),
            (Lines{"", "reading previous config...", "rmem_max = 1", "tcp_sack = 0",
                   "tcp_stdurg = 3", "reading config done", "", "setting to previous values",
                   "received TCP_Settings command", "Setting new value - rmem_max = 2",
                   "Setting new value - tcp_stdurg = 4", "", "writing config...", "rmem_max = 2",
                   "file write error: [/proc/sys/net/ipv4/tcp_sack]: Permission denied"} +
             rollback +
             Lines{"{error \"file error\" \"[/proc/sys/net/ipv4/tcp_sack]: Permission denied\"}"} +
             rollback));
  EXPECT_EQ(trace.results, std::vector<bool>{false});
  EXPECT_EQ(trace.files,
            (std::map<std::string, std::string>{{"core/rmem_max", "1"}, {"ipv4/tcp_stdurg", "3"}}));
}

TEST(ModelOfFailures, RepliesToAFailureAfterTheRollbackAndGoesNoFurther) {
  const Trace trace = Predict(
      {{{"core/wmem_max", {File::kLoop, ""}}}, {NewLayer(), Configure({Settings({}), Words("")})}});

  const std::string quiet = "setting to previous values\n";
  const Calls calls = {{"kaml_cont_type", quiet},      {"kaml_cont_type", quiet},
                       {"kaml_elem_name", quiet},      {"kaml_elem_contents", quiet},
                       {"SendError", "config done\n"}, {"~kaeCPLayer", "config done\n"}};
  EXPECT_EQ(CallsFrom(trace, kCallsOfABirth), calls);
}

TEST(ModelOfFailures, ForgetsWhatEarlierRequestsSet) {
  const Trace trace =
      Predict({{{"ipv4/tcp_sack", Text("0")}},
               {NewLayer(), Configure({Settings({Value("tcp_sack", "5")})}),
                Change("ipv4/tcp_bic", {File::kLoop, ""}), Configure({Settings({})}),
                Change("ipv4/tcp_bic", {}), Configure({Settings({})}), TakeDescriptors()}});

  EXPECT_EQ(trace.results, (std::vector<bool>{true, false, true}));
  EXPECT_EQ(trace.files.at("ipv4/tcp_sack"), "0");
}

TEST(ModelOfFailures, TellsEveryKindOfFileByTheErrorOfItsOpen) {
  const std::string file = "/proc/sys/net/ipv4/tcp_sack";
  for (const Obstacle& obstacle : kObstacles) {
    const Trace trace = Predict({{{"ipv4/tcp_sack", obstacle.file}}, {NewLayer()}});
    const std::string value = "tcp_sack = " + obstacle.value + "\n";
    std::string read = value;
    if (!obstacle.reading.empty()) {
      read =
          "error opening stream for read -  file [" + file + "]; error: " + obstacle.reading + "\n";
    }
    std::string written = value;
    if (obstacle.file.kind == File::kMissing) {
      written = "file [" + file + "]; does not exist. Skipped.\n";
    } else if (!obstacle.writing.empty()) {
      written =
          "error opening stream for write - file [" + file + "]; error: " + obstacle.writing + "\n";
    }
    EXPECT_EQ(trace.output, With(kBirthWithoutFiles, "tcp_sack]", read) +
                                With(kReleaseWithoutFiles, "tcp_sack]", written))
        << "kind " << obstacle.file.kind;
  }
}

TEST(ModelOfFailures, LosesWhatAFullDeviceGetsWithoutAWord) {
  const Trace trace = Predict({{{"ipv4/tcp_sack", Text("0")}},
                               {NewLayer(), Change("ipv4/tcp_sack", {File::kFullDevice, ""}),
                                Configure({Settings({Value("tcp_sack", "5")})}), Release(0)}});

  EXPECT_EQ(trace.results, std::vector<bool>{true});
  EXPECT_TRUE(trace.files.empty());
}

TEST(ModelOfFailures, RunsOutOfDescriptorsEvenForMissingFiles) {
  const Trace trace =
      Predict({{}, {NewLayer(), TakeDescriptors(), Configure({Settings({})}), NewLayer()}});

  const std::string detail = "[/proc/sys/net/core/rmem_max]: Too many open files";
  std::size_t refusals = 0;
  for (const std::string& line : Told(trace)) {
    refusals += Ends(line, "]; error: Too many open files") ? 1U : 0U;
  }
  EXPECT_EQ(refusals, 4U * 50U) << "rollback, snapshot and two releases";
  EXPECT_NE(trace.output.find("file write error: " + detail + "\n"), std::string::npos);
  EXPECT_NE(trace.output.find("{error \"file error\" \"" + detail + "\"}\n"), std::string::npos);
  EXPECT_EQ(trace.output.find("Skipped"), std::string::npos);
}

}  // namespace model
