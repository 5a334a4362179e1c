#include "tests/model/predictor/predict.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/model/tests/story_verbs.h"
#include "tests/model/tests/told_stories.h"

namespace model {

using namespace std::string_literals;

TEST(Model, TellsALayerWithoutAnyFileFromBirthToRelease) {
  const Trace trace = Predict({{}, {NewLayer()}});

  EXPECT_EQ(trace.output, kBirthWithoutFiles + kReleaseWithoutFiles);
  EXPECT_EQ(trace.results, std::vector<bool>{});
  EXPECT_TRUE(trace.files.empty());
}

TEST(Model, CallsTheHostForItsBaseAndForEveryNameBeforeItPrints) {
  const Trace trace = Predict({{}, {NewLayer()}});

  ASSERT_EQ(trace.calls.size(), kCallsOfABirth + 1);
  const std::map<std::size_t, std::string> some = {{0, "kaeCPLayer()"},
                                                   {1, "kaml_intern tcp-settings"},
                                                   {2, "kaml_intern rmem_max"},
                                                   {24, "kaml_intern tcp_mem_low"},
                                                   {25, "kaml_intern tcp_mem_pressure"},
                                                   {56, "kaml_intern tcp_ipfrag_time"},
                                                   {58, "kaml_intern tcp_port_max"}};
  for (const auto& [i, call] : some) {
    EXPECT_EQ(trace.calls[i], std::make_pair(call, std::size_t{0})) << "call " << i;
  }
  EXPECT_EQ(trace.calls[59], std::make_pair("~kaeCPLayer"s, trace.output.size()));
}

TEST(Model, WritesTheDefaultsOfFilesThatCouldNotBeRead) {
  Scenario scenario{{}, {NewLayer()}};
  for (const auto& [file, text] : kDefaults) {
    scenario.files[file] = {File::kSealed, ""};
    scenario.operations.push_back(Change(file, Text("")));
  }
  const Trace trace = Predict(scenario);

  EXPECT_EQ(trace.files, kDefaults);
  EXPECT_TRUE(Ends(trace.output,
                   "; error: Permission denied\ntcp_port_max = 4096\n"
                   "reading config done\n\nsetting to previous values\n" +
                       kReleaseWithEveryFile))
      << trace.output;
}

TEST(Model, StartsWithTheKernelsValuesAndFifteenDefaults) {
  Scenario scenario;
  std::map<std::string, std::string> expected;
  for (const auto& [file, text] : kDefaults) {
    scenario.files[file] = Text("7 8 9 10");
    expected[file] = "7";
  }
  for (const char* file : {"ipv4/tcp_ecn", "ipv4/tcp_fin_timeout", "ipv4/tcp_keepalive_intvl",
                           "ipv4/tcp_keepalive_probes", "ipv4/tcp_keepalive_time",
                           "ipv4/tcp_retries1", "ipv4/tcp_retries2", "ipv4/tcp_rmem",
                           "ipv4/tcp_synack_retries", "ipv4/tcp_timestamps", "ipv4/tcp_wmem"}) {
    expected[file] = kDefaults.at(file);
  }
  expected["ipv4/tcp_mem"] = "7 8 9";
  expected["ipv4/ip_local_port_range"] = "7 8";

  // The release cannot open any file, so the values of the request stay.
  scenario.operations = {NewLayer(), Configure({Settings({})}), TakeDescriptors()};
  EXPECT_EQ(Predict(scenario).files, expected);

  // With descriptors, it writes the values that the layer found.
  scenario.operations.push_back(GiveDescriptors());
  const Trace restored = Predict(scenario);
  EXPECT_EQ(restored.files.at("ipv4/tcp_ecn"), "7");
  EXPECT_EQ(restored.files.at("ipv4/tcp_wmem"), "7 8 9");
}

TEST(Model, AppliesARequestAndGivesTheFilesBackAtTheRelease) {
  const Trace trace = Predict(
      {{{"ipv4/tcp_sack", Text("0\n")}, {"ipv4/tcp_rmem", Text("\t1\v2\f\r3 4\n")}},
       {NewLayer(),
        Configure({Settings({Value("tcp_sack", " 1 "), Value("tcp_rmem_default", "%s\n2")})})}});

  EXPECT_EQ(Told(trace), (Lines{"",
                                "reading previous config...",
                                "tcp_rmem_min = 1",
                                "tcp_rmem_default = 2",
                                "tcp_rmem_max = 3",
                                "tcp_sack = 0",
                                "reading config done",
                                "",
                                "setting to previous values",
                                "received TCP_Settings command",
                                "Setting new value - tcp_sack =  1 ",
                                "Setting new value - tcp_rmem_default = %s",
                                "2",
                                "",
                                "writing config...",
                                "tcp_rmem_min = 4096",
                                "tcp_rmem_default = %s",
                                "2",
                                "tcp_sack =  1 ",
                                "config done",
                                "{success}",
                                "",
                                "setting to previous values",
                                "",
                                "writing config...",
                                "tcp_rmem_min = 1",
                                "tcp_rmem_default = 2",
                                "tcp_rmem_max = 3",
                                "tcp_sack = 0",
                                "config done"}));
  EXPECT_EQ(trace.results, std::vector<bool>{true});
  EXPECT_EQ(trace.files, (std::map<std::string, std::string>{{"ipv4/tcp_sack", "0"},
                                                             {"ipv4/tcp_rmem", "1 2 3"}}));
}

TEST(Model, KeepsWhatAShortFileDoesNotTellAndJoinsEmptyValues) {
  const Trace trace =
      Predict({{{"ipv4/tcp_mem", Text("5")}, {"ipv4/ip_local_port_range", Text(" \n")}},
               {NewLayer(),
                Configure({Settings({Value("tcp_mem_pressure", ""), Value("tcp_port_max", "")})}),
                TakeDescriptors()}});

  EXPECT_EQ(trace.files, (std::map<std::string, std::string>{
                             {"ipv4/tcp_mem", "5  98304"}, {"ipv4/ip_local_port_range", "4096 "}}));
}

TEST(Model, IgnoresWordsThatAFileHasTooMany) {
  const Trace trace = Predict(
      {{{"ipv4/tcp_ecn", Text("5 6")}, {"ipv4/tcp_fack", {File::kFolder, ""}}}, {NewLayer()}});

  const Lines told = Told(trace);
  EXPECT_EQ(Lines(told.begin(), told.begin() + 4),
            (Lines{"", "reading previous config...", "tcp_ecn = 5", "tcp_fack = 1"}));
}

TEST(Model, KeepsANulOfAFileButPrintsUpToIt) {
  const Trace trace = Predict(
      {{{"ipv4/tcp_sack", Text("a\0b c"s)}, {"ipv4/tcp_bic", Text("d"s)}},
       {NewLayer(), Configure({Settings({Value("tcp_bic", "e\0f"s)})}), TakeDescriptors()}});

  const Lines told = Told(trace);
  EXPECT_EQ(
      Lines(told.begin(), told.begin() + 12),
      (Lines{"", "reading previous config...", "tcp_bic = d", "tcp_sack = a", "reading config done",
             "", "setting to previous values", "received TCP_Settings command",
             "Setting new value - tcp_bic = e", "", "writing config...", "tcp_bic = e"}));
  EXPECT_EQ(trace.files, (std::map<std::string, std::string>{{"ipv4/tcp_sack", "a\0b"s},
                                                             {"ipv4/tcp_bic", "e"}}));
}

}  // namespace model
