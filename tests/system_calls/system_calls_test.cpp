// What a pass costs in system calls: for each file that is there an open, a read or a write, and a
// close; for each that is missing an open; one write for each flushed line; before the files are
// written, one question whether standard output is open. Nothing else.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/endurance/hosted.h"
#include "tests/support/catalogue.h"
#include "tests/system_calls/trace.h"

namespace {

// A line for each call: where two such texts differ, the lines that do are shown.
std::string ToLines(const std::vector<SystemCall>& calls) {
  std::string lines;
  for (const SystemCall& call : calls) {
    lines += call.ToString() + "\n";
  }
  return lines;
}

// The expected calls, in their order. What is printed and not flushed waits for the next line that
// is.
struct Expected {
  std::string calls;
  std::string printed;

  void Print(const std::string& name, const std::string& value) {
    printed += name + " = " + value + "\n";
  }

  void Flush(const std::string& line) {
    printed += line + "\n";
    Write("stdout", printed);
    printed.clear();
  }

  void Open(const std::string& file, const std::string& flags, bool missing) {
    calls += "openat /proc/sys/net/" + file + " " + flags + (missing ? ": -2\n" : ": file\n");
  }

  void Write(const std::string& where, const std::string& text) {
    calls += "write " + where + " [" + text + "]: " + std::to_string(text.size()) + "\n";
  }
};

bool IsChild(const ExpectedSetting& setting) { return setting.container[0] != '\0'; }

// In traced_life's tree every second file is missing.
std::map<std::string, bool> MissingFiles() {
  std::map<std::string, bool> missing;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    missing.emplace(setting.file, missing.size() % 2 == 1);
  }
  return missing;
}

// What the snapshot finds: the files that are there hold a 7 for each value.
Values PreviousValues() {
  Values values;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    values[setting.name] = MissingFiles().at(setting.file) ? setting.default_value : "7";
  }
  return values;
}

void ExpectWriting(Expected& expected, const Values& values) {
  const std::map<std::string, bool> missing = MissingFiles();
  expected.Flush("");
  expected.Flush("writing config...");
  expected.calls += "fcntl stdout: 0\n";
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (IsChild(setting)) {
      expected.Print(setting.name, values.at(setting.name));
      continue;
    }
    const std::string file = setting.file;
    expected.Open(file, "O_WRONLY|O_CREAT|O_TRUNC", missing.at(file));
    if (missing.at(file)) {
      expected.Flush("file [/proc/sys/net/" + file + "]; does not exist. Skipped.");
      continue;
    }
    expected.Print(setting.name, values.at(setting.name));
    expected.Write("file", FilesOf(values).at(file));
    expected.calls += "close file: 0\n";
  }
  expected.Flush("config done");
}

class SystemCalls : public testing::Test {
 protected:
  static void SetUpTestSuite() { traces = TraceLife("tree"); }

  static inline std::map<std::string, std::vector<SystemCall>> traces;
};

TEST_F(SystemCalls, OfASnapshotAreAnOpenAReadAndACloseForEachFile) {
  const std::map<std::string, bool> missing = MissingFiles();
  Expected expected;
  expected.Flush("");
  expected.Flush("reading previous config...");
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    const std::string file = setting.file;
    if (!IsChild(setting)) {
      expected.Open(file, "O_RDONLY", missing.at(file));
      if (missing.at(file)) {
        expected.Flush("error opening stream for read -  file [/proc/sys/net/" + file +
                       "]; error: No such file or directory");
        continue;
      }
      expected.calls +=
          "read file: " + std::to_string(FilesOf(PreviousValues()).at(file).size() + 1) +
          "\nclose file: 0\n";
    }
    expected.Print(setting.name, PreviousValues().at(setting.name));
  }
  expected.Flush("reading config done");
  expected.Flush("");
  expected.Flush("setting to previous values");
  EXPECT_EQ(ToLines(traces["snapshot"]), expected.calls);
}

TEST_F(SystemCalls, OfARequestAreAnOpenAWriteAndACloseForEachFile) {
  Expected expected;
  expected.Flush("received TCP_Settings command");
  expected.Flush("Setting new value - tcp_sack = 0");
  expected.Flush("Setting new value - tcp_rmem_default = 5000");
  ExpectWriting(expected, With(StartingValues(PreviousValues()),
                               {{"tcp_sack", "0"}, {"tcp_rmem_default", "5000"}}));
  EXPECT_EQ(ToLines(traces["request"]), expected.calls);
}

TEST_F(SystemCalls, OfAReleaseAreThoseOfOneMorePass) {
  Expected expected;
  expected.Flush("");
  expected.Flush("setting to previous values");
  ExpectWriting(expected, PreviousValues());
  EXPECT_EQ(ToLines(traces["release"]), expected.calls);
}

}  // namespace
