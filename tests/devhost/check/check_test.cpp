// kaehost check: its options, exit statuses and JSON, and documents that cannot be read.

#include <gmock/gmock.h>

#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class Check : public testing::Test {
 protected:
  Outcome Of(const std::string& xml) const {
    return Kaehost({"check", folder_.Write("document.xml", xml)});
  }

  const TempFolder folder_;
  const std::string path_ = folder_.Path("document.xml");
};

}  // namespace

TEST_F(Check, TellsThatADocumentCannotBeRead) {
  const Outcome run = Of("<tcp-settings>\n<tcp_sack>0</tcp_sak>\n");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "kaehost: " + path_ +
                         ":2: cannot be read as XML: Opening and ending tag mismatch: tcp_sack "
                         "line 2 and tcp_sak\n");
}

TEST_F(Check, LooksAtEveryDocument) {
  const std::string bad = folder_.Write("bad.xml", "<tcp-settings><x/></tcp-settings>");
  const std::string good = folder_.Write("good.xml", "<tcp-settings/>");
  const std::string missing = folder_.Path("missing.xml");
  const Outcome run = Kaehost({"check", missing, bad, good});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "kaehost: " + missing + ": cannot be read: No such file or directory\n");
  EXPECT_THAT(run.out, HasSubstr("kaehost: " + bad + ": 1 finding\nkaehost: " + good +
                                 ": nothing to mend\n"));
  EXPECT_EQ(Kaehost({"check", bad, good}).status, 1);
}

TEST_F(Check, ReadsAPipeToo) {
  const std::string xml = "<tcp-settings><tcp_sack a='b'>1</tcp_sack></tcp-settings>";
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_EQ(write(ends[1], xml.data(), xml.size()), static_cast<ssize_t>(xml.size()));
  close(ends[1]);
  const Outcome run = Kaehost({"check", "/dev/stdin"}, [ends] { dup2(ends[0], STDIN_FILENO); });
  close(ends[0]);
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("/dev/stdin:1:15: tcp_sack: attributes are passed over"));
}

TEST_F(Check, QuietTellsFindingsOnly) {
  const std::string bad = folder_.Write("bad.xml", "<tcp-settings><x/></tcp-settings>");
  const std::string good = folder_.Write("good.xml", "<tcp-settings/>");
  const Outcome run = Kaehost({"check", "--quiet", good, bad});
  EXPECT_EQ(run.out, bad + ":1:15: x: unknown element, which is passed over; remove it\n");
}

TEST_F(Check, JsonTellsAllOfIt) {
  const std::string bad = folder_.Write("bad.xml", "<tcp-settings>\n<x/></tcp-settings>");
  const std::string missing = folder_.Path("missing.xml");
  const Outcome run = Kaehost({"check", "--json", bad, missing});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "");
  const json told = json::parse(run.out);
  EXPECT_EQ(told["status"], 2);
  EXPECT_EQ(told["documents"][0]["document"], bad);
  EXPECT_EQ(told["documents"][0]["error"], nullptr);
  EXPECT_EQ(told["documents"][0]["findings"], json::parse(R"([{"line": 2, "column": 1,
      "sentence": "x: unknown element, which is passed over; remove it"}])"));
  EXPECT_EQ(told["documents"][1]["error"], missing + ": cannot be read: No such file or directory");
  EXPECT_THAT(told["documents"][1]["findings"], IsEmpty());
}

TEST_F(Check, NeedsADocument) {
  const Outcome run = Kaehost({"check"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "kaehost: DOCUMENT is required; see kaehost check --help\n");
}

TEST_F(Check, IsExplainedByItsHelp) {
  const Outcome run = Kaehost({"check", "--help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, HasSubstr("\nOf what is no well-formed XML, or more than a document may be, "
                                 "standard error tells the line.\n"));
  EXPECT_THAT(run.out, HasSubstr("--json"));
  EXPECT_THAT(run.out, HasSubstr("--quiet"));
  EXPECT_THAT(run.out, HasSubstr("\nExit status:\n  0  "));
}
